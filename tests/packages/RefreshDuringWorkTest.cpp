#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

class RefreshDuringWorkTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void newObjectsShowTheRunningDownload();
    void newObjectsShowTheRunningDownloadOfAnUpdate();
    void secondInstallThroughANewObjectDoesNothing();
    void newObjectsFollowThroughSeveralRefreshes();
    void waitingDependantIsNotStranded();
    void queueGoesOnWhileTheCatalogueIsOnItsWay();
    void queueGoesOnAfterAFailedRefresh();
    void dependencyThatLeftTheCatalogueEndsItsDependant();
    void failureReachesTheNewObject();
    void updateMarkReachesTheNewObject();
    void updateMarkIsThatOfTheNewCatalogue();
    void updateMarkIsSetForAVersionThatLeftTheCatalogue();
    void dependantOfAFailureBeforeTheRefreshEnds();
    void newObjectMayOutliveTheProgramsEnd();

private:
    void holdArchive(int id);
    void release(int id);
    void startHeld(int id);

    std::unique_ptr<Engine> m_engine;
};

void RefreshDuringWorkTest::holdArchive(int id)
{
    m_engine->server().resource(QStringLiteral("/package-%1-1.0.zip").arg(id)).holdsGet = true;
}

void RefreshDuringWorkTest::release(int id)
{
    m_engine->server().release(QStringLiteral("/package-%1-1.0.zip").arg(id));
}

/// Starts an installation whose download waits until release().
void RefreshDuringWorkTest::startHeld(int id)
{
    holdArchive(id);
    m_engine->install(id);
    QVERIFY(m_engine->waitForState(id, Package::DOWNLOADING));
}

void RefreshDuringWorkTest::newObjectsShowTheRunningDownload()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    startHeld(7);
    const PackagePointer before = m_engine->package(7);
    QVERIFY(m_engine->refresh());
    const PackagePointer after = m_engine->package(7);
    QVERIFY(after != before);
    QCOMPARE(after->state(), Package::DOWNLOADING);
    QVERIFY(!m_engine->controller().runningDownload(after).isNull());
    QSignalSpy sizes(after.data(), &Package::downloadedSize);
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
    QVERIFY(sizes.count() > 0);
    QCOMPARE(before->state(), Package::INSTALLED);
    QCOMPARE(m_engine->recordedStatus(7), 1);
}

/// The version that is still there does not take the place of the one that comes.
void RefreshDuringWorkTest::newObjectsShowTheRunningDownloadOfAnUpdate()
{
    const QString archive = QStringLiteral("/package-7-2.0.zip");
    m_engine->offer({7});
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    m_engine->server().resource(archive).holdsGet = true;
    m_engine->install(7, QStringLiteral("2.0"));
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    QVERIFY(m_engine->refresh());
    const PackagePointer after = m_engine->package(7);
    QCOMPARE(after->state(), Package::DOWNLOADING);
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("2.0"));
    QCOMPARE(m_engine->recordedStatus(7), int(Package::DOWNLOADING));
    QVERIFY(!m_engine->controller().runningDownload(after).isNull());
    m_engine->server().release(archive);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshDuringWorkTest::secondInstallThroughANewObjectDoesNothing()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    startHeld(7);
    QVERIFY(m_engine->refresh());
    m_engine->install(7);
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
    QCOMPARE(m_engine->server().requests(QStringLiteral("/package-7-1.0.zip")).size(), 2);
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
}

void RefreshDuringWorkTest::newObjectsFollowThroughSeveralRefreshes()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    startHeld(7);
    for (int round = 0; round < 3; ++round) {
        QVERIFY(m_engine->refresh());
        QCOMPARE(m_engine->package(7)->state(), Package::DOWNLOADING);
    }
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshDuringWorkTest::waitingDependantIsNotStranded()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    holdArchive(2);
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(1)->state(), Package::INSTALLING);
    release(2);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
}

void RefreshDuringWorkTest::queueGoesOnWhileTheCatalogueIsOnItsWay()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    const PackagePointer working = m_engine->package(1);
    startHeld(2);
    m_engine->install(1);
    m_engine->server().resource(QStringLiteral("/packages.json")).holdsGet = true;
    m_engine->controller().refresh();
    QVERIFY(m_engine->controller().packages().isEmpty());
    release(2);
    QTRY_COMPARE(working->state(), Package::INSTALLED);
    m_engine->server().release(QStringLiteral("/packages.json"));
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    QVERIFY(listed.count() > 0 || listed.wait());
    QCOMPARE(m_engine->package(1)->state(), Package::INSTALLED);
    QTRY_VERIFY(!m_engine->controller().isBusy());
}

void RefreshDuringWorkTest::queueGoesOnAfterAFailedRefresh()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    const PackagePointer working = m_engine->package(1);
    startHeld(2);
    m_engine->install(1);
    m_engine->server().resource(QStringLiteral("/packages.json")).getStatus = 500;
    QSignalSpy errors(&m_engine->controller(), &PackageController::error);
    m_engine->controller().refresh();
    QVERIFY(errors.wait());
    release(2);
    QTRY_COMPARE(working->state(), Package::INSTALLED);
    QTRY_COMPARE(m_engine->recordedStatus(1), 1);
    QTRY_VERIFY(!m_engine->controller().isBusy());
}

void RefreshDuringWorkTest::dependencyThatLeftTheCatalogueEndsItsDependant()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    const PackagePointer working = m_engine->package(1);
    holdArchive(1);
    holdArchive(2);
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(2, Package::DOWNLOADING));
    m_engine->server().serve(QStringLiteral("/packages.json"), "[]");
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    m_engine->controller().refresh();
    QVERIFY(listed.wait());
    release(1);
    QTRY_COMPARE(working->state(), Package::DEPENDENCY_ERROR);
    release(2);
    QTRY_COMPARE(m_engine->recordedStatus(2), 1);
    QTRY_VERIFY(!m_engine->controller().isBusy());
}

void RefreshDuringWorkTest::failureReachesTheNewObject()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    HttpResource &archive = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip"));
    archive.holdAfter = 10;
    archive.resetAfter = 20;
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    QVERIFY(m_engine->refresh());
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOAD_ERROR));
}

void RefreshDuringWorkTest::updateMarkReachesTheNewObject()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    holdArchive(7);
    m_engine->install(7, QStringLiteral("1.0"));
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    QVERIFY(m_engine->refresh());
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshDuringWorkTest::updateMarkIsThatOfTheNewCatalogue()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    startHeld(7);
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshDuringWorkTest::updateMarkIsSetForAVersionThatLeftTheCatalogue()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    startHeld(7);
    m_engine->server().serve(QStringLiteral("/packages.json"),
                             R"([{"id": 7, "versions": [{"version": "2.0"}]}])");
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    m_engine->controller().refresh();
    QVERIFY(listed.wait());
    release(7);
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QVERIFY(m_engine->waitUntilSettled(7));
}

void RefreshDuringWorkTest::dependantOfAFailureBeforeTheRefreshEnds()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    holdArchive(1);
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).body = "no archive";
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DOWNLOADING));
    QVERIFY(m_engine->waitForState(2, Package::INSTALL_ERROR));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(2)->state(), Package::AVAILABLE);
    release(1);
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->recordedStatus(1), 8);
}

void RefreshDuringWorkTest::newObjectMayOutliveTheProgramsEnd()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    startHeld(7);
    PackagePointer before = m_engine->package(7);
    // Stops the worker between the last state and its announcement to the new object.
    QSemaphore ending;
    const QObject context;
    const auto stopWorker = [&ending, main = QThread::currentThread()] {
        if (QThread::currentThread() != main)
            ending.acquire();
    };
    connect(before.data(), &Package::stateChanged, &context, stopWorker, Qt::DirectConnection);
    QVERIFY(m_engine->refresh());
    const PackagePointer card = m_engine->package(7);
    release(7);
    const bool installed =
        QTest::qWaitFor([&before] { return before->state() == Package::INSTALLED; });
    before.reset();
    ending.release();
    m_engine->stop();
    QVERIFY(installed);
    // The announcement arrives when the object that it came from has gone.
    QTRY_COMPARE(card->state(), Package::INSTALLED);
}

KAVO_TEST_MAIN(RefreshDuringWorkTest)
#include "RefreshDuringWorkTest.moc"
