#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Archives.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

constexpr int Id = 7;
constexpr int Library = 8;
constexpr int Unavailable = 503; ///< HTTP status "Service Unavailable"
const QString Old = "1.10"_s;    ///< would lose its zero as a number
const QString New = "2.0"_s;

using Fault = void (*)(Engine &);

/// The versions of the add-on differ in their files and in what their rules remove.
Offer addOn(const QString &version)
{
    const QString folder = "plugin "_s + version;
    const QStringList removed{folder, "plugin "_s + Old};
    return Offer{Id, version}
        .bringing({{folder + "/data.txt"_s, "data of " + version.toUtf8()},
                   {folder + "/more.txt"_s, "more"}})
        .removing(version == New ? removed : QStringList(folder));
}

} // namespace

Q_DECLARE_METATYPE(Offer)
Q_DECLARE_METATYPE(Fault)

/// An update that fails before it removes anything leaves the previous version installed. An update
/// that fails later leaves no complete version.
class StillInstalledTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void versionBeforeIsInstalledAgain_data()
    {
        const Offer update = addOn(New);
        const Offer needing = update.needing({"8:2.0"_s});
        const auto refuses = [](Engine &engine) {
            engine.archive(Id, New).getStatus = Unavailable;
        };
        const auto cuts = [](Engine &engine) { engine.archive(Id, New).resetAfter = 100; };
        const auto stands = [](Engine &engine) { engine.archive(Id, New).holdAfter = 100; };
        const auto loses = [](Engine &engine) { engine.archive(Library, New).getStatus = 404; };
        const auto waits = [](Engine &engine) { engine.hold(Library, New); };
        const auto nothing = [](Engine &) {};
        Rows<Offer, Fault, State>()
            .row("the server refuses", update, refuses, Package::DOWNLOAD_ERROR)
            .row("the transfer is cut", update, cuts, Package::DOWNLOAD_ERROR)
            .row("the rules lead out", update.into("../out"_s), nothing, Package::INSTALL_ERROR)
            .row("what it needs fails", needing, loses, Package::DEPENDENCY_ERROR)
            .row("closed while downloading", update, stands, Package::DOWNLOADING)
            .row("closed while waiting", needing, waits, Package::INSTALLING);
    }
    void versionBeforeIsInstalledAgain()
    {
        const auto [update, fault, end] = Rows<Offer, Fault, State>::current();
        offer({Library, New});
        offer(update);
        fault(engine());
        QVERIFY(refresh());
        install(Id, New);
        QVERIFY(waitForState(Id, end));
        QTRY_COMPARE(recordedStatus(Id), int(end));
        QCOMPARE(recordedVersion(Id), New);
        // The previous version stays installed and is removed by its own rules.
        for (int start = 0; start < 2; ++start) {
            QVERIFY(restart());
            checkOldIsInstalled();
        }
        uninstall(Id);
        QVERIFY(!QFile::exists(simulator("plugin "_s + Old)));
        QVERIFY(restart());
        checkNotInstalled();
    }

    void refreshShowsThePreviousVersionAgain()
    {
        failUpdate();
        QVERIFY(refresh());
        checkOldIsInstalled();
        archive(Id, New).getStatus.reset();
        QVERIFY(installAndWait(Id, New));
        QVERIFY(!QFile::exists(simulator("plugin "_s + Old)));
        QVERIFY(restart());
        checkNewIsInstalled();
    }

    void downgradeThatFailsLeavesTheNewerVersion()
    {
        QVERIFY(publish({addOn(New)}) && installAndWait(Id, New));
        archive(Id, Old).getStatus = Unavailable;
        QVERIFY(!installAndWait(Id, Old));
        QVERIFY(refresh());
        checkNewIsInstalled();
    }

    void refreshDuringTheUpdateShowsTheUpdate()
    {
        QVERIFY(publish({addOn(New)}));
        archive(Id, New).holdAfter = 100;
        QVERIFY(installUntilDownloading(Id, New));
        for (int round = 0; round < 2; ++round) {
            QVERIFY(refresh());
            QCOMPARE(state(Id), Package::DOWNLOADING);
            QCOMPARE(recordedStatus(Id), int(Package::DOWNLOADING));
            QCOMPARE(recordedVersion(Id), New);
            QVERIFY(controller().runningDownload(package(Id)));
        }
        release(Id, New);
        QVERIFY(waitUntilInstalled(Id));
        QCOMPARE(recordedVersion(Id), New);
    }

    /// If the needed package counted as installed again, the new version of its dependant would be
    /// installed beside the old version of the needed package.
    void neededPackageIsNotTakenUpWhileItsDependantIsOnItsWay()
    {
        QVERIFY(installAndWait(Library));
        QVERIFY(publish({addOn(New).needing({"8:2.0"_s}), {Library, New}}));
        archive(Library, New).getStatus = Unavailable;
        archive(Id, New).holdAfter = 100;
        QVERIFY(installUntilDownloading(Id, New));
        QVERIFY(waitForState(Library, Package::DOWNLOAD_ERROR) && refresh());
        QCOMPARE(state(Library), Package::AVAILABLE);
        release(Id, New);
        QVERIFY(waitForState(Id, Package::DEPENDENCY_ERROR) && refresh());
        checkOldIsInstalled();
        QCOMPARE(installedVersion(Library), "1.0"_s);
    }

    void versionThatLeftTheCatalogueIsStillInstalled()
    {
        failUpdate();
        stop();
        catalogue().body = R"([{"id": 7, "versions": [{"version": "2.0"}]}])";
        QVERIFY(refreshAsServed());
        checkOldIsInstalled();
    }

    void installationThatFailedAfterTheRemovalLeavesNothing_data()
    {
        Rows<QString>().row("update", New).row("repeated installation", Old);
    }
    void installationThatFailedAfterTheRemovalLeavesNothing()
    {
        const auto [version] = Rows<QString>::current();
        offer(addOn(New));
        archive(Id, version).body = damagedArchiveOf({});
        QVERIFY(refresh());
        QVERIFY(!installAndWait(Id, version));
        QVERIFY(refresh());
        checkNotInstalled();
        QVERIFY(restart());
        checkNotInstalled();
        QCOMPARE(recordedStatus(Id), int(Package::INSTALL_ERROR));
    }

    void removalThatCouldNotBeRecordedIsRecordedLater()
    {
        const GatedExtractor gate(engine());
        stop();
        offer(addOn(New));
        archive(Id, New).body = damagedArchiveOf({});
        QVERIFY(refresh());
        execute({"CREATE TRIGGER t BEFORE INSERT ON whole_versions "
                 "BEGIN SELECT RAISE(ABORT, 'not now'); END"_s});
        const LogCapture log;
        install(Id, New);
        QVERIFY(gate.waitUntilReached());
        QVERIFY(log.count("SQL Error: not now"_s) > 0);
        execute({"DROP TRIGGER t"_s});
        gate.open();
        QVERIFY(waitUntilSettled(Id) && restart());
        checkNotInstalled();
    }

    void removedPackageIsNotTakenUp()
    {
        uninstall(Id);
        QVERIFY(restart());
        checkNotInstalled();
        failUpdate();
        QVERIFY(restart());
        checkNotInstalled();
    }

    /// The task asks for permission to remove files while the program ends and no event loop runs.
    void endBeforeTheRemovalFinishesTheUpdate()
    {
        for (const QString &version : {"1.0"_s, New})
            offer(Offer{9, version}.keeping({Engine::fileOf(9)}));
        QVERIFY(refresh() && installAndWait(9, "1.0"_s));
        bool ended = false;
        QObject context;
        // This call is queued before the task can send a message, so it is handled first.
        const auto end = [this, &ended] {
            const QDeadlineTimer deadline(engine().patience());
            while (!QFile::exists(preserved(Engine::fileOf(9))) && !deadline.hasExpired())
                QThread::yieldCurrentThread();
            stop();
            ended = true;
        };
        connect(package(9).data(), &Package::stateChanged, &context, [&context, end](State state) {
            if (state == Package::INSTALLING)
                QMetaObject::invokeMethod(&context, end, Qt::QueuedConnection);
        });
        install(9, New);
        QTRY_VERIFY_WITH_TIMEOUT(ended, engine().patience());
        QCOMPARE(recordedStatus(9), int(Package::INSTALLED));
        QVERIFY(refresh());
        QCOMPARE(installedVersion(9), New);
        QCOMPARE(inSimulator(Engine::fileOf(9)), Engine::contentOf(9, New));
    }

    void recordsWithoutTheSecondTableAreTakenOver()
    {
        stop();
        execute({"DROP TABLE whole_versions"_s});
        failUpdate();
        QVERIFY(restart());
        checkOldIsInstalled();
    }

    void failuresFromBeforeAreLeftAsTheyAre()
    {
        failUpdate();
        stop();
        execute({"DROP TABLE whole_versions"_s});
        const LogCapture log;
        QVERIFY(refresh());
        checkNotInstalled();
        QCOMPARE(recordedStatus(Id), int(Package::DOWNLOAD_ERROR));
        QCOMPARE(log.count("SQL Error: "_s), 0);
    }

    /// Another program may change the rows of `packages` without knowing the table whole_versions.
    void removalByAnotherProgramCounts()
    {
        stop();
        execute({"UPDATE packages SET status = 0 WHERE package_id = 7"_s});
        QVERIFY(refresh());
        QCOMPARE(installedVersion(Id), QString());
    }

    void updateByAnotherProgramCounts()
    {
        stop();
        execute({"UPDATE packages SET version = '1.11.1' WHERE package_id = 7"_s});
        QVERIFY(refresh());
        QCOMPARE(installedVersion(Id), "1.11.1"_s);
        failUpdate();
        QVERIFY(restart());
        QCOMPARE(installedVersion(Id), "1.11.1"_s);
    }

    /// After a sudden end in the middle of a removal, the package counts as installed, so that the
    /// removal can be repeated.
    void halfRemovedPackageIsNotTakenUp()
    {
        stop();
        execute({"UPDATE whole_versions SET version = NULL"_s});
        QVERIFY(refresh());
        QCOMPARE(state(Id), Package::INSTALLED);
        failUpdate();
        QVERIFY(restart());
        checkNotInstalled();
    }

    void resetForgets()
    {
        failUpdate();
        controller().reset();
        QVERIFY(!QFile::exists(packageDatabase()));
        QVERIFY(refresh());
        checkNotInstalled();
    }

    void foreignSecondTableDoesNotPreventInstallations_data()
    {
        Rows<QString>()
            .row("other columns", "name TEXT")
            .row("a column more that must be given",
                 "package_id INTEGER PRIMARY KEY, version TEXT, owner TEXT NOT NULL")
            .row("a check that nothing passes",
                 "package_id INTEGER PRIMARY KEY, version TEXT CHECK (0)");
    }
    void foreignSecondTableDoesNotPreventInstallations()
    {
        const auto [columns] = Rows<QString>::current();
        stop();
        execute({"DROP TABLE whole_versions"_s, "CREATE TABLE whole_versions (%1)"_s.arg(columns)});
        const LogCapture log;
        QVERIFY(refresh() && installAndWait(Library));
        QVERIFY(publish({addOn(New)}) && installAndWait(Id, New));
        QVERIFY(log.count("SQL Error: "_s) > 0);
        QVERIFY(restart());
        QCOMPARE(installedVersion(Id), New);
        QCOMPARE(recordedStatus(Library), int(Package::INSTALLED));
    }

    void backupsOfThePreviousVersionStay()
    {
        const QString lights = "lights.png"_s;
        QVERIFY(writeFile(simulator(lights), "the simulator's"));
        for (const QString &version : {"1.0"_s, New}) {
            offer(Offer{9, version}
                      .bringing({{"data.txt"_s, version.toUtf8()}})
                      .backingUp({lights})
                      .removing({"data.txt"_s, lights}));
        }
        QVERIFY(refresh() && installAndWait(9, "1.0"_s));
        QCOMPARE(readFile(backedUp(lights)), "the simulator's");
        archive(9, New).getStatus = Unavailable;
        QVERIFY(!installAndWait(9, New));
        // The original is still in its place, so its backup looks like a leftover.
        QCOMPARE(inSimulator(lights), "the simulator's");
        // The backup is kept, both while other work needs the package and later.
        QVERIFY(publish({Offer{10}.needing({"9:1.0"_s})}));
        archive(10).holdAfter = 10;
        QVERIFY(!installAndWait(9, New));
        QVERIFY(installUntilDownloading(10));
        QTRY_VERIFY(!controller().isBusy());
        QVERIFY(refresh());
        QCOMPARE(state(9), Package::AVAILABLE);
        QCOMPARE(readFile(backedUp(lights)), "the simulator's");
        QVERIFY(restart());
        QCOMPARE(state(9), Package::INSTALLED);
        QCOMPARE(readFile(backedUp(lights)), "the simulator's");
    }

    /// The update ended suddenly after all copies were made and before anything was removed. Its
    /// copy must not replace a later edit.
    void editAfterASuddenEndReturns()
    {
        const QString settings = "plugin/settings.ini"_s;
        for (const QString &version : {"1.0"_s, New}) {
            offer(Offer{9, version}
                      .bringing({{"plugin/data.txt"_s, version.toUtf8()}})
                      .keeping({settings})
                      .removing({"plugin"_s}));
        }
        QVERIFY(refresh() && installAndWait(9, "1.0"_s));
        stop();
        for (const QString &path : {simulator(settings), preserved(settings)})
            QVERIFY(writeFile(path, "as it was"));
        execute({"UPDATE packages SET status = 4, version = x'322e30' WHERE package_id = 9"_s});
        QVERIFY(refresh());
        QCOMPARE(state(9), Package::INSTALLED);
        QVERIFY(!QFile::exists(preserved(settings)));
        QVERIFY(writeFile(simulator(settings), "as it is now") && installAndWait(9, New));
        QCOMPARE(inSimulator(settings), "as it is now");
    }

private:
    void setUp() override
    {
        QVERIFY(publish({addOn(Old), {Library, "1.0"_s}}) && installAndWait(Id));
    }

    /// Changes the database as another program would.
    void execute(const QStringList &statements)
    {
        QVERIFY(executeOn(packageDatabase(), statements));
    }

    /// Tries an update whose archive the server refuses.
    void failUpdate()
    {
        offer(addOn(New));
        archive(Id, New).getStatus = Unavailable;
        QVERIFY(refresh());
        QVERIFY(!installAndWait(Id, New));
        QCOMPARE(recordedStatus(Id), int(Package::DOWNLOAD_ERROR));
        QCOMPARE(recordedVersion(Id), New);
    }

    void checkOldIsInstalled()
    {
        QCOMPARE(state(Id), Package::INSTALLED);
        QCOMPARE(installedVersion(Id), Old);
        QCOMPARE(recordedStatus(Id), int(Package::INSTALLED));
        QCOMPARE(recordedVersion(Id), Old);
        QVERIFY(isUpdateAvailable(Id));
        QCOMPARE(readFiles(simulator("plugin "_s + Old)),
                 (Files{{"data.txt"_s, "data of " + Old.toUtf8()}, {"more.txt"_s, "more"}}));
    }

    void checkNewIsInstalled()
    {
        QCOMPARE(installedVersion(Id), New);
        QVERIFY(!isUpdateAvailable(Id));
    }

    void checkNotInstalled()
    {
        QCOMPARE(state(Id), Package::AVAILABLE);
        QVERIFY(recordedStatus(Id) != Package::INSTALLED);
        QVERIFY(installedVersion(Id).isEmpty());
    }
};

KAVO_TEST_MAIN(StillInstalledTest)
#include "StillInstalledTest.moc"
