#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QSemaphore>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// A file of the simulator that an add-on replaces.
const QString Lights = "lights.txt"_s;

/// A folder that is renamed until bringBack() is called, like a disk that is not mounted.
class MovedAway final
{
public:
    explicit MovedAway(const QString &path) : m_path(QDir::cleanPath(path))
    {
        if (!QFile::rename(m_path, elsewhere()))
            qFatal("It cannot be moved");
    }
    bool bringBack() const { return QFile::rename(elsewhere(), m_path); }

private:
    QString elsewhere() const { return m_path + ".away"_s; }

    QString m_path;
};

} // namespace

class UninstallationTest final : public EngineTest
{
    Q_OBJECT

    using Depends = QVector<QStringList>;

private slots:
    void filesGoAndTheRecordStays()
    {
        QVERIFY(writeFiles(simulator({}), {{"Custom Scenery/Mine/apt.dat"_s, "mine"},
                                           {"package-70/file.txt"_s, "mine"},
                                           {"Output/preferences/a.prf"_s, "mine"}}));
        const auto before = fileTree(simulator({}));
        QVERIFY(publish({removable(7)}) && installAndWait(7));
        QVector<State> states;
        connect(package(7).data(), &Package::stateChanged, this,
                [&states](State state) { states.append(state); });
        uninstall(7);
        QCOMPARE(states, (QVector<State>{Package::UNINSTALLING, Package::AVAILABLE}));
        QCOMPARE(fileTree(simulator({})), before);
        QCOMPARE(recordedStatus(7), int(Package::AVAILABLE));
        QCOMPARE(recordedVersion(7), "1.0"_s);
        QVERIFY(installedVersion(7).isEmpty());
        QVERIFY(!controller().isBusy());
    }

    void rulesAreThoseOfTheInstalledVersion()
    {
        QVERIFY(publish({removable(7), Offer{7, "2.0"_s}.removing({"of the new version"_s})}));
        QVERIFY(installAndWait(7, "1.0"_s) && isUpdateAvailable(7));
        QVERIFY(writeFile(simulator("of the new version"_s), "stays"));
        uninstall(7);
        QVERIFY(!hasFile(7));
        QVERIFY(QFile::exists(simulator("of the new version"_s)));
        QVERIFY(!isUpdateAvailable(7));
    }

    void dependentsGoFirst_data()
    {
        Rows<Depends, QVector<int>>()
            .row("chain", Depends{{}, {"1"_s}, {"2"_s}}, QVector<int>{3, 2, 1})
            .row("shared ones go once", Depends{{}, {"1"_s}, {"1"_s, "2"_s}}, QVector<int>{3, 2, 1})
            .row("each other", Depends{{"2"_s}, {"1"_s}}, QVector<int>{2, 1});
    }
    void dependentsGoFirst()
    {
        const auto [depends, order] = Rows<Depends, QVector<int>>::current();
        offer(removable(9));
        for (int id = 1; id <= depends.size(); ++id)
            offer(removable(id, depends.at(id - 1)));
        QVERIFY(refresh() && installAndWait(9));
        QVector<int> gone;
        const QObject context;
        for (int id = 1; id <= depends.size(); ++id) {
            install(id);
            QVERIFY(waitUntilInstalled(id));
            connect(package(id).data(), &Package::stateChanged, &context, [&gone, id](State state) {
                if (state == Package::AVAILABLE)
                    gone.append(id);
            });
        }
        QVector<int> along;
        for (const PackagePointer &other : controller().removedAlong(package(1)))
            along.append(other->id());
        QCOMPARE(along, order.mid(0, order.size() - 1));
        uninstall(1);
        QCOMPARE(gone, order);
        for (const int id : order)
            QVERIFY(!hasFile(id));
        QCOMPARE(state(9), Package::INSTALLED);
        QVERIFY(hasFile(9));
    }

    void busyPackageIsLeftAlone()
    {
        QVERIFY(publish({removable(7)}));
        hold(7);
        QVERIFY(installUntilDownloading(7));
        const LogCapture log;
        uninstall(7);
        QCOMPARE(state(7), Package::DOWNLOADING);
        QVERIFY(log.contains("Package is busy : package-7"_s));
        release(7);
        QVERIFY(waitUntilInstalled(7));
    }

    void packageThatADownloadingOneNeedsStays_data()
    {
        // In the second row, package 3 is downloading. It needs 2, which would be removed with 1.
        Rows<int>().row("the package itself", 2).row("one that would go with it", 3);
    }
    void packageThatADownloadingOneNeedsStays()
    {
        const auto [busy] = Rows<int>::current();
        QVERIFY(publish({removable(1), removable(2, {"1"_s}), removable(3, {"2"_s})}));
        QVERIFY(installAndWait(busy - 1));
        hold(busy);
        QVERIFY(installUntilDownloading(busy));
        removalIsRefused(1, busy);
        QCOMPARE(state(busy - 1), Package::INSTALLED);
        release(busy);
        QVERIFY(waitUntilInstalled(busy));
        QVERIFY(controller().removalBlockers(package(1)).isEmpty());
    }

    void packageThatAQueuedOneNeedsStays()
    {
        QVERIFY(publish({removable(1), removable(2, {"1"_s}), removable(3)}));
        QVERIFY(installAndWait(1));
        const GatedExtractor gate(engine());
        QVERIFY(restart());
        install(3);
        QVERIFY(gate.waitUntilReached());
        install(2);
        QVERIFY(waitForState(2, Package::INSTALLING));
        removalIsRefused(1, 2);
        gate.open();
        QVERIFY(waitUntilInstalled(2));
        QVERIFY(controller().removalBlockers(package(1)).isEmpty());
    }

    void dependentThatIsNotYetRecordedKeepsWhatItNeeds()
    {
        QVERIFY(publish({removable(1), removable(2, {"1"_s})}) && installAndWait(1));
        // Blocks the worker thread after it has set the package's last state and before the task
        // ends.
        QSemaphore tried;
        const QObject context;
        const auto stopWorker = [&tried, main = QThread::currentThread()] {
            if (QThread::currentThread() != main)
                tried.acquire();
        };
        connect(package(2).data(), &Package::stateChanged, &context, stopWorker,
                Qt::DirectConnection);
        install(2);
        const bool installed = waitForState(2, Package::INSTALLED);
        uninstall(1);
        const State afterwards = state(2);
        tried.release();
        QVERIFY(installed);
        QCOMPARE(afterwards, Package::INSTALLED);
        QVERIFY(waitUntilSettled(2));
        for (const int id : {1, 2}) {
            QCOMPARE(recordedStatus(id), int(Package::INSTALLED));
            QVERIFY(hasFile(id));
        }
    }

    void anotherPackageIsRemovedDuringAnInstallation()
    {
        QVERIFY(publish({removable(1), removable(2)}) && installAndWait(1));
        bool removedMeanwhile = false;
        connect(package(2).data(), &Package::stateChanged, this, [&](State state) {
            if (state != Package::INSTALLING)
                return;
            uninstall(1);
            removedMeanwhile = true;
        });
        QVERIFY(installAndWait(2));
        QVERIFY(removedMeanwhile);
        QCOMPARE(recordedStatus(1), int(Package::AVAILABLE));
        QCOMPARE(recordedStatus(2), int(Package::INSTALLED));
        QVERIFY(!hasFile(1) && hasFile(2));
    }

    void missingSimulatorKeepsThePackage_data()
    {
        Rows<QString>().row("folder", QString()).row("executable", "X-Plane-x86_64");
    }
    void missingSimulatorKeepsThePackage()
    {
        const auto [moved] = Rows<QString>::current();
        QVERIFY(installReplacing("original"));
        const QString folder = simulator({});
        const auto before = fileTree(folder);
        const MovedAway disk(folder + moved);
        const LogCapture log;
        QSignalSpy states(package(7).data(), &Package::stateChanged);
        const Removal refused = uninstall(7);
        QVERIFY(refused.missingSimulator && *refused.missingSimulator == folder);
        QVERIFY(log.contains("No simulator : "_s + folder));
        QVERIFY(states.isEmpty());
        QCOMPARE(state(7), Package::INSTALLED);
        QCOMPARE(recordedStatus(7), int(Package::INSTALLED));
        QCOMPARE(readFile(backedUp(Lights)), "original");

        QVERIFY(disk.bringBack());
        QCOMPARE(fileTree(folder), before);
        QVERIFY(!uninstall(7).missingSimulator);
        QCOMPARE(state(7), Package::AVAILABLE);
        QCOMPARE(inSimulator(Lights), "original");
    }

    void simulatorThatGoesMeanwhileKeepsTheRest_data()
    {
        Rows<State, int>()
            .row("between two packages", Package::AVAILABLE, 2)
            .row("during the second", Package::UNINSTALLING, 1);
    }
    void simulatorThatGoesMeanwhileKeepsTheRest()
    {
        const auto [moment, id] = Rows<State, int>::current();
        QVERIFY(publish({removable(1), removable(2, {"1"_s})}) && installAndWait(2));
        std::unique_ptr<MovedAway> disk;
        const QObject context;
        connect(package(id).data(), &Package::stateChanged, &context,
                [&disk, folder = simulator({}), moment = moment](State reached) {
                    if (reached == moment && !disk)
                        disk = std::make_unique<MovedAway>(folder);
                });
        QVERIFY(uninstall(1).missingSimulator);
        QVERIFY(disk && disk->bringBack());
        QCOMPARE(state(2), Package::AVAILABLE);
        QCOMPARE(recordedStatus(2), int(Package::AVAILABLE));
        QCOMPARE(state(1), Package::INSTALLED);
        QCOMPARE(recordedStatus(1), int(Package::INSTALLED));
        QVERIFY(hasFile(1));
        QVERIFY(!uninstall(1).missingSimulator);
        QVERIFY(!hasFile(1));
    }

    void backupStaysUntilTheRemovalIsDone()
    {
        QVERIFY(installReplacing("original"));
        // The removal is recorded right after this state. Until then, the backup must exist, so
        // that an interrupted removal can be repeated.
        QByteArray backup;
        connect(package(7).data(), &Package::stateChanged, this, [&](State state) {
            if (state == Package::AVAILABLE)
                backup = readFile(backedUp(Lights));
        });
        uninstall(7);
        QCOMPARE(backup, "original");
        QCOMPARE(inSimulator(Lights), "original");
        QVERIFY(!QFile::exists(backedUp(Lights)));
    }

    void backupLeftBehindIsClearedUpAtTheNextStart()
    {
        QVERIFY(installReplacing("original"));
        uninstall(7);
        stop();
        // A sudden end after the removal was recorded has left the backup.
        QVERIFY(writeFile(backedUp(Lights), "original") && refresh());
        QVERIFY(!QFile::exists(backedUp(Lights)));
        QCOMPARE(inSimulator(Lights), "original");
        // The user's own file is backed up again, not mistaken for the original.
        QVERIFY(writeFile(simulator(Lights), "changed") && installAndWait(7));
        QCOMPARE(readFile(backedUp(Lights)), "changed");
    }

    void backupOfAnInstalledPackageIsNotClearedUp()
    {
        // The add-on's file has the same content as the original.
        QVERIFY(installReplacing("package's") && restart());
        QCOMPARE(readFile(backedUp(Lights)), "package's");
        uninstall(7);
        QCOMPARE(inSimulator(Lights), "package's");
    }

    void backupOfARunningInstallationIsNotClearedUp()
    {
        offer(Offer{8}.bringing({{Lights, "package's"}}).backingUp({Lights}));
        QVERIFY(installReplacing("original"));
        uninstall(7);
        const GatedExtractor gate(engine());
        QVERIFY(restart());
        QCOMPARE(inSimulator(Lights), "original");
        install(8);
        QVERIFY(gate.waitUntilReached());
        // The original is still in its place, but the running installation relies on this backup.
        QVERIFY(refresh());
        QCOMPARE(readFile(backedUp(Lights)), "original");
        gate.open();
        QVERIFY(waitUntilInstalled(8));
        QCOMPARE(inSimulator(Lights), "package's");
        QCOMPARE(readFile(backedUp(Lights)), "original");
    }

private:
    static Offer removable(int id, const QStringList &depends = {})
    {
        return Offer{id}.needing(depends).removing({"package-%1"_s.arg(id)});
    }
    /// Writes lights with this content and installs package 7, which replaces them.
    bool installReplacing(const QByteArray &original)
    {
        return writeFile(simulator(Lights), original) &&
               publish({Offer{7}
                            .bringing({{Lights, "package's"}})
                            .backingUp({Lights})
                            .removing({Lights})}) &&
               installAndWait(7);
    }
    /// Checks that an installed package is not removed while `blocker` is being installed.
    void removalIsRefused(int id, int blocker)
    {
        const QString name = package(blocker)->name();
        const PackageList blockers = controller().removalBlockers(package(id));
        QCOMPARE(blockers.size(), 1);
        QCOMPARE(blockers.first()->name(), name);
        const LogCapture log;
        uninstall(id);
        QVERIFY(log.contains("Package is busy : "_s + name));
        QCOMPARE(state(id), Package::INSTALLED);
        QVERIFY(hasFile(id));
    }
};

KAVO_TEST_MAIN(UninstallationTest)
#include "UninstallationTest.moc"
