#include "tests/packages/EngineTest.h"
#include "tests/support/TestMain.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

class RefreshDuringWorkTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void newObjectsShowTheRunningDownload()
    {
        QVERIFY(publish({{7}}));
        startHeld(7);
        const PackagePointer first = package(7);
        for (int round = 0; round < 3; ++round) {
            const PackagePointer before = package(7);
            QVERIFY(refresh());
            QVERIFY(package(7) != before);
            QCOMPARE(state(7), Package::DOWNLOADING);
            QVERIFY(!controller().runningDownload(package(7)).isNull());
        }
        QSignalSpy sizes(package(7).data(), &Package::downloadedSize);
        release(7);
        QVERIFY(waitUntilInstalled(7));
        QVERIFY(sizes.count() > 0);
        QCOMPARE(first->state(), Package::INSTALLED);
        QCOMPARE(recordedStatus(7), 1);
    }

    void runningUpdateStaysRecorded()
    {
        QVERIFY(publish({{7, "1.0"_s}}) && installAndWait(7));
        QVERIFY(publish({{7, "2.0"_s}}));
        hold(7, "2.0"_s);
        QVERIFY(installUntilDownloading(7) && refresh());
        QCOMPARE(recordedStatus(7), int(Package::DOWNLOADING));
        QCOMPARE(recordedVersion(7), "2.0"_s);
        QVERIFY(!controller().runningDownload(package(7)).isNull());
        release(7, "2.0"_s);
        QVERIFY(waitUntilInstalled(7));
    }

    void secondInstallThroughANewObjectDoesNothing()
    {
        QVERIFY(publish({{7}}));
        startHeld(7);
        QVERIFY(refresh());
        install(7);
        release(7);
        QVERIFY(waitUntilInstalled(7));
        QCOMPARE(server().requests("/package-7-1.0.zip"_s).size(), 2);
        QCOMPARE(state(7), Package::INSTALLED);
    }

    void waitingDependantIsNotStranded()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), {2}}));
        hold(2);
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QVERIFY(refresh());
        QCOMPARE(state(1), Package::INSTALLING);
        release(2);
        QVERIFY(waitUntilInstalled(1));
    }

    void queueGoesOnWhileTheCatalogueIsOnItsWay()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), {2}}));
        const PackagePointer working = package(1);
        startHeld(2);
        install(1);
        catalogue().holdsGet = true;
        controller().refresh();
        QVERIFY(controller().packages().isEmpty());
        release(2);
        QTRY_COMPARE(working->state(), Package::INSTALLED);
        server().release("/packages.json"_s);
        QSignalSpy listed(&controller(), &PackageController::list);
        QVERIFY(listed.count() > 0 || listed.wait());
        QCOMPARE(state(1), Package::INSTALLED);
        QTRY_VERIFY(!controller().isBusy());
    }

    void queueGoesOnAfterAFailedRefresh()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), {2}}));
        const PackagePointer working = package(1);
        startHeld(2);
        install(1);
        catalogue().getStatus = 500;
        QSignalSpy errors(&controller(), &PackageController::error);
        controller().refresh();
        QVERIFY(errors.wait());
        release(2);
        QTRY_COMPARE(working->state(), Package::INSTALLED);
        QTRY_COMPARE(recordedStatus(1), 1);
        QTRY_VERIFY(!controller().isBusy());
    }

    void dependencyThatLeftTheCatalogueEndsItsDependant()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), {2}}));
        const PackagePointer working = package(1);
        hold(1);
        hold(2);
        install(1);
        QVERIFY(waitForState(2, Package::DOWNLOADING));
        catalogue().body = "[]";
        QVERIFY(refreshAsServed());
        release(1);
        QTRY_COMPARE(working->state(), Package::DEPENDENCY_ERROR);
        release(2);
        QTRY_COMPARE(recordedStatus(2), 1);
        QTRY_VERIFY(!controller().isBusy());
    }

    void failureReachesTheNewObject()
    {
        QVERIFY(publish({{7}}));
        holdAndBreak(7);
        QVERIFY(installUntilDownloading(7) && refresh());
        release(7);
        QVERIFY(waitForState(7, Package::DOWNLOAD_ERROR));
    }

    void updateMarkReachesTheNewObject()
    {
        QVERIFY(publish({{7, "1.0"_s}, {7, "2.0"_s}}));
        hold(7);
        QVERIFY(installUntilDownloading(7, "1.0"_s) && refresh());
        release(7);
        QVERIFY(waitUntilInstalled(7) && isUpdateAvailable(7));
    }

    void updateMarkIsThatOfTheNewCatalogue()
    {
        QVERIFY(publish({{7, "1.0"_s}}));
        startHeld(7);
        QVERIFY(publish({{7, "2.0"_s}}));
        release(7);
        QVERIFY(waitUntilInstalled(7) && isUpdateAvailable(7));
    }

    void updateMarkIsSetForAVersionThatLeftTheCatalogue()
    {
        QVERIFY(publish({{7, "1.0"_s}}));
        startHeld(7);
        catalogue().body = R"([{"id": 7, "versions": [{"version": "2.0"}]}])";
        QVERIFY(refreshAsServed());
        release(7);
        QVERIFY(waitUntilInstalled(7) && isUpdateAvailable(7));
    }

    void dependantOfAFailureBeforeTheRefreshEnds()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), {2}}));
        hold(1);
        archive(2).body = "no archive";
        QVERIFY(installUntilDownloading(1));
        QVERIFY(waitForState(2, Package::INSTALL_ERROR));
        QVERIFY(refresh());
        QCOMPARE(state(2), Package::AVAILABLE);
        release(1);
        QVERIFY(waitForState(1, Package::DEPENDENCY_ERROR));
        QCOMPARE(recordedStatus(1), 8);
    }

    void newObjectMayOutliveTheProgramsEnd()
    {
        QVERIFY(publish({{7}}));
        startHeld(7);
        PackagePointer before = package(7);
        // Blocks the worker thread after it has set the last state and before the new object is
        // notified.
        QSemaphore ending;
        const QObject context;
        const auto stopWorker = [&ending, main = QThread::currentThread()] {
            if (QThread::currentThread() != main)
                ending.acquire();
        };
        connect(before.data(), &Package::stateChanged, &context, stopWorker, Qt::DirectConnection);
        QVERIFY(refresh());
        const PackagePointer card = package(7);
        release(7);
        const bool installed =
            QTest::qWaitFor([&before] { return before->state() == Package::INSTALLED; });
        before.reset();
        ending.release();
        stop();
        QVERIFY(installed);
        // The notification arrives after its sender was deleted.
        QTRY_COMPARE(card->state(), Package::INSTALLED);
    }

private:
    /// Starts an installation whose download waits until release().
    void startHeld(int id)
    {
        hold(id);
        QVERIFY(installUntilDownloading(id));
    }
};

KAVO_TEST_MAIN(RefreshDuringWorkTest)
#include "RefreshDuringWorkTest.moc"
