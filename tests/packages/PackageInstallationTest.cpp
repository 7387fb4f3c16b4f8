#include "core/Settings.h"
#include "downloads/Download.h"
#include "downloads/DownloadManager.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/packages/UpdateSetup.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QtConcurrent>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class PackageInstallationTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void versionGoesThroughItsStatesAndIsRecorded()
    {
        QVERIFY(publish({{7}}));
        hold(7);
        const auto states = followStates(7);
        QSignalSpy totals(package(7).data(), &Package::totalSize);
        QSignalSpy sizes(package(7).data(), &Package::downloadedSize);
        QSignalSpy finished(package(7).data(), &Package::downloadFinished);
        install(7);
        QCOMPARE(*states, States{Package::PREPARING});
        QCOMPARE(recordedStatus(7), -1);
        QTRY_COMPARE(state(7), Package::DOWNLOADING);
        QCOMPARE(recordedStatus(7), int(Package::DOWNLOADING));
        QCOMPARE(recordedVersion(7), "1.0"_s);
        QVERIFY(installedVersion(7).isEmpty());
        release(7);
        QVERIFY(waitUntilSettled(7));
        QCOMPARE(*states, (States{Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING,
                                  Package::INSTALLED}));
        QCOMPARE(recordedStatus(7), int(Package::INSTALLED));
        QCOMPARE(inSimulator(Engine::fileOf(7)), Engine::contentOf(7, "1.0"_s));
        QVERIFY(!QFile::exists(cachedArchive(7)));
        QCOMPARE(totals.first().first().toLongLong(), archive(7).size());
        QCOMPARE(sizes.last().first().toLongLong(), archive(7).size());
        QCOMPARE(finished.count(), 1);
        QCOMPARE(QDir::cleanPath(finished.first().first().toString()), cachedArchive(7));
    }

    void installDuringTheErrorSignalDoesNothing()
    {
        QVERIFY(publish({{7}}));
        holdAndBreak(7);
        QVERIFY(installUntilDownloading(7));
        const PackagePointer failing = package(7);
        const auto orderAgain =
            connect(failing.data(), &Package::stateChanged, this, [this](Package::State state) {
                if (state == Package::DOWNLOAD_ERROR)
                    install(7);
            });
        release(7);
        QVERIFY(waitForState(7, Package::DOWNLOAD_ERROR));
        QCOMPARE(recordedStatus(7), int(Package::DOWNLOAD_ERROR));
        disconnect(orderAgain);
        archive(7).holdAfter.reset();
        archive(7).resetAfter.reset();
        QVERIFY(installAndWait(7));
    }

    // Fixed, see docs/compatibility.md.
    void resolvedVersionIsHandedBackAndSurvivesTheRestart()
    {
        QVERIFY(publish({{7, "1.2"_s}, {7, "1.10"_s}, {8, "3.0"_s}}));
        QCOMPARE(install(7), "1.10"_s);
        QCOMPARE(install(8, "unheard of"_s), "3.0"_s);
        QVERIFY(waitUntilSettled(7) && waitUntilSettled(8));
        QCOMPARE(recordedVersion(7), "1.10"_s);
        QVERIFY(restart());
        for (const int id : {7, 8}) {
            QCOMPARE(state(id), Package::INSTALLED);
            QVERIFY(!isUpdateAvailable(id));
        }
        QCOMPARE(installedVersion(7), "1.10"_s);
    }

    void updateMarkIsThatOfTheVersionThatWasInstalledLast()
    {
        QVERIFY(publish({{7, "1.0"_s}, {7, "2.0"_s}}) && installAndWait(7));
        QVERIFY(!isUpdateAvailable(7));
        bool markWhenAnnounced = false;
        connect(package(7).data(), &Package::stateChanged, this, [&](State state) {
            if (state == Package::INSTALLED)
                markWhenAnnounced = isUpdateAvailable(7);
        });
        QVERIFY(installAndWait(7, "1.0"_s));
        QVERIFY(isUpdateAvailable(7));
        QTRY_VERIFY(markWhenAnnounced);
        QCOMPARE(installedVersion(7), "1.0"_s);
        QVERIFY(installAndWait(7));
        QVERIFY(!isUpdateAvailable(7));
        QTRY_VERIFY(!markWhenAnnounced);
    }

    void newestVersionNeedsNoUpdateWhateverItsText()
    {
        // A version without numbers counts as older than all others.
        QVERIFY(publish({{7, "nightly"_s}}) && installAndWait(7));
        QVERIFY(!isUpdateAvailable(7));
    }

    // Fixed, see docs/compatibility.md.
    void rulesApplyOnUpdate()
    {
        const auto before = fileTree(simulator({}));
        QVERIFY(writeFile(simulator("lights.txt"_s), "original"));
        const QByteArray program = inSimulator("X-Plane-x86_64"_s);
        for (const QString &version : {"1.0"_s, "2.0"_s}) {
            const Files files{{"plugin/disc.txt"_s, version.toUtf8()},
                              {"lights.txt"_s, "package " + version.toUtf8()}};
            offer(Offer{7, version}
                      .bringing(files)
                      .keeping({"plugin/settings.ini"_s})
                      .backingUp({"lights.txt"_s})
                      .removing({"plugin"_s, "lights.txt"_s}));
        }
        QVERIFY(refresh() && installAndWait(7, "1.0"_s));
        QCOMPARE(readFile(backedUp("lights.txt"_s)), "original");
        QVERIFY(writeFile(simulator("plugin/settings.ini"_s), "user's"));
        QVERIFY(writeFile(simulator("plugin/old.txt"_s), "left over"));

        QVERIFY(installAndWait(7));
        QCOMPARE(readFiles(simulator({})), (Files{{"X-Plane-x86_64"_s, program},
                                                  {"lights.txt"_s, "package 2.0"},
                                                  {"plugin/disc.txt"_s, "2.0"},
                                                  {"plugin/settings.ini"_s, "user's"}}));
        QCOMPARE(readFile(backedUp("lights.txt"_s)), "original");
        QVERIFY(!QFile::exists(preserved("plugin/settings.ini"_s)));

        uninstall(7);
        QCOMPARE(inSimulator("lights.txt"_s), "original");
        QVERIFY(QFile::remove(simulator("lights.txt"_s)));
        QCOMPARE(fileTree(simulator({})), before);
    }

    void failedDownloadIsFinal_data()
    {
        Rows<bool>().row("missing archive", false).row("failed probe", true);
    }
    void failedDownloadIsFinal()
    {
        const auto [onlyProbeFails] = Rows<bool>::current();
        QVERIFY(publish({{7}}));
        if (onlyProbeFails)
            archive(7).headStatus = 500;
        else
            archive(7).getStatus = 404;
        const auto states = followStates(7);
        QSignalSpy finished(package(7).data(), &Package::downloadFinished);
        install(7);
        QVERIFY(waitForState(7, Package::DOWNLOAD_ERROR));
        // The transfer continues after the error, but the package keeps its state.
        QTRY_VERIFY(downloads().find(server().url("/package-7-1.0.zip"_s)).isNull());
        QCOMPARE(server().last("GET", "/package-7-1.0.zip"_s).method, "GET");
        QCOMPARE(*states, (States{Package::PREPARING, Package::DOWNLOAD_ERROR}));
        QCOMPARE(recordedStatus(7), int(Package::DOWNLOAD_ERROR));
        QCOMPARE(finished.count(), 0);
        QVERIFY(!hasFile(7));
    }

    void interruptedDownloadGoesOnWhereItStopped_data()
    {
        Rows<bool>().row("reset, then a refresh", false).row("end of the program", true);
    }
    void interruptedDownloadGoesOnWhereItStopped()
    {
        const auto [ends] = Rows<bool>::current();
        const QByteArray content = noise(1, 400000);
        QVERIFY(publish({Offer{7}.bringing({{Engine::fileOf(7), content}})}));
        archive(7).holdAfter = 30000;
        archive(7).resetAfter = 30000;
        install(7);
        QTRY_COMPARE(QFileInfo(cachedArchive(7)).size(), 30000);
        if (ends) {
            stop();
        } else {
            release(7);
            QVERIFY(waitForState(7, Package::DOWNLOAD_ERROR));
        }
        archive(7).holdAfter.reset();
        archive(7).resetAfter.reset();
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::AVAILABLE);
        QVERIFY(installAndWait(7));
        QCOMPARE(server().last("GET", "/package-7-1.0.zip"_s).header("Range"), "bytes=30000-");
        QVERIFY(inSimulator(Engine::fileOf(7)) == content);
    }

    void secondInstallOfABusyPackageDoesNothing()
    {
        QVERIFY(publish({{7}}));
        const auto states = followStates(7);
        install(7);
        install(7);
        QVERIFY(waitUntilSettled(7));
        QCOMPARE(states->count(Package::INSTALLING), 1);
        QCOMPARE(server().requests("/package-7-1.0.zip"_s).size(), 2);
    }

    void packageWithoutVersionsDoesNothing()
    {
        offerObject({{"id"_s, 7}});
        QVERIFY(refresh());
        const PackagePointer empty = package(7);
        QVERIFY(install(7).isEmpty());
        QCOMPARE(state(7), Package::AVAILABLE);
        QVERIFY(installedVersion(7).isEmpty());
        QVERIFY(controller().changeLog(empty, QString()).isEmpty());
        QVERIFY(controller().resolvedDependencies(empty, QString()).isEmpty());
        QVERIFY(controller().dependents(empty, QString()).isEmpty());
        QVERIFY(controller().runningDownload(empty).isNull());
        uninstall(7);
        QCOMPARE(state(7), Package::AVAILABLE);
    }

    void controllerWithoutDownloadManagerDoesNothing()
    {
        Kavo::Controllers::PackageController controller(settings(), {});
        QVERIFY(publish({{7}}));
        QString version;
        controller.install(package(7), version);
        QCOMPARE(state(7), Package::AVAILABLE);
        QVERIFY(controller.runningDownload(package(7)).isNull());
    }

    void completeArchiveInTheCacheIsNotFetchedAgain()
    {
        QVERIFY(publish({{7}}) && writeFile(cachedArchive(7), archive(7).body));
        const auto states = followStates(7);
        QVERIFY(installAndWait(7));
        QVERIFY(server().log().filter("GET /package-7"_s).isEmpty());
        QTRY_COMPARE(*states,
                     (States{Package::PREPARING, Package::INSTALLING, Package::INSTALLED}));
        // The finished download stays in the download queue, although its file was deleted. It must
        // not count as running.
        QVERIFY(!downloads().find(server().url("/package-7-1.0.zip"_s)).isNull());
        uninstall(7);
        QVERIFY(installAndWait(7));
        QCOMPARE(server().log().filter("GET /package-7"_s).size(), 1);
    }

    void completeDownloadThatIsAnnouncedAgainIsInstalledOnce()
    {
        const GatedExtractor gate(engine());
        QVERIFY(publish({{7}}) && writeFile(cachedArchive(7), archive(7).body));
        const LogCapture log;
        install(7);
        const auto download = downloads().find(server().url("/package-7-1.0.zip"_s));
        connect(download.data(), &Download::finished, this, [&download] { download->announce(); });
        QVERIFY(gate.waitUntilReached());
        QCOMPARE(controller().runningDownload(package(7)), download);
        download->announce();
        gate.open();
        QVERIFY(waitUntilSettled(7));
        QCOMPARE(state(7), Package::INSTALLED);
        QCOMPARE(log.count("Removing file : "_s), 1);
        QCOMPARE(log.count("Extract paramenter : "_s), 1);
    }

    void packagesOfOneAddressShareOneTransfer()
    {
        QVERIFY(publish({Offer{7}.at("/shared.zip"_s), Offer{8}.at("/shared.zip"_s)}));
        install(7);
        install(8);
        QVERIFY(waitUntilInstalled(7) && waitUntilInstalled(8));
        QCOMPARE(server().log().filter("GET /shared"_s).size(), 1);
        QVERIFY(!QFile::exists(cached("shared.zip"_s)));
    }

    void archivesOfOneNameDoNotMix()
    {
        QVERIFY(publish({Offer{7}.at("/a/data.zip"_s), Offer{8}.at("/b/data.zip"_s)}));
        install(7);
        install(8);
        for (const int id : {7, 8}) {
            QVERIFY(waitUntilInstalled(id));
            QCOMPARE(inSimulator(Engine::fileOf(id)), Engine::contentOf(id, "1.0"_s));
        }
    }

    void runningDownloadIsThatOfTheVersionOnItsWay()
    {
        QVERIFY(publish({{7, "1.0"_s}, {7, "2.0"_s}}));
        QVERIFY(controller().runningDownload(package(7)).isNull());
        hold(7);
        QVERIFY(installUntilDownloading(7, "1.0"_s));
        const auto download = controller().runningDownload(package(7));
        QVERIFY(!download.isNull());
        QCOMPARE(download->getRequest()->url().toString(), server().url("/package-7-1.0.zip"_s));
        release(7);
        QVERIFY(waitUntilSettled(7));
        QVERIFY(controller().runningDownload(package(7)).isNull());
    }

    void endDuringATaskWaitsAndRecordsTheResult()
    {
        const GatedExtractor gate(engine());
        QVERIFY(publish({{7}}));
        const PackagePointer card = package(7);
        install(7);
        QVERIFY(gate.waitUntilReached());
        QVERIFY(controller().isBusy());
        QCOMPARE(recordedStatus(7), int(Package::INSTALLING));

        auto opening = QtConcurrent::run([&gate] { gate.open(); });
        stop();
        opening.waitForFinished();
        QCOMPARE(card->state(), Package::INSTALLED);
        QCOMPARE(recordedStatus(7), int(Package::INSTALLED));
        QVERIFY(hasFile(7));
    }

private:
    using States = QVector<State>;

    /// The states that the package enters from now on.
    QSharedPointer<States> followStates(int id)
    {
        const auto states = QSharedPointer<States>::create();
        connect(package(id).data(), &Package::stateChanged, this,
                [states](State state) { states->append(state); });
        return states;
    }
};

KAVO_TEST_MAIN(PackageInstallationTest)
#include "PackageInstallationTest.moc"
