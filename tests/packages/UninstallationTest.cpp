#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// A file of the simulator's that an add-on replaces.
const QString Lights = QStringLiteral("lights.txt");

/// What is not to be found under its name until it is brought back.
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
    QString elsewhere() const { return m_path + QStringLiteral(".away"); }

    QString m_path;
};

} // namespace

class UninstallationTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void filesGoAndTheRecordStays();
    void rulesAreThoseOfTheInstalledVersion();
    void dependentsGoFirst();
    void sharedDependentsGoOnce();
    void packagesThatNeedEachOtherAreBothRemoved();
    void busyPackageIsLeftAlone();
    void dependentThatIsNotYetRecordedKeepsWhatItNeeds();
    void packageThatAQueuedOneNeedsStays();
    void packageThatADownloadingOneNeedsStays();
    void packageOfWhichADependentNeedsItsDependencyStays();
    void anotherPackageIsRemovedDuringAnInstallation();
    void missingSimulatorKeepsThePackage_data();
    void missingSimulatorKeepsThePackage();
    void simulatorThatGoesMeanwhileKeepsTheRest_data();
    void simulatorThatGoesMeanwhileKeepsTheRest();
    void otherPeoplesFilesStay();
    void removalOfAnUpdatablePackageClearsItsMark();
    void backupStaysUntilTheRemovalIsDone();
    void backupLeftBehindIsClearedUpAtTheNextStart();
    void backupOfAnInstalledPackageIsNotClearedUp();
    void backupOfARunningInstallationIsNotClearedUp();

private:
    Offer removable(int id, const QStringList &depends = {}) const;
    static Offer replacing(int id);
    void removalIsRefused(int id, const QString &blocker);
    QString backup() { return m_engine->profile().backupFolder() + Lights; }
    QVector<int> removalOrder(const QVector<int> &ids);

    std::unique_ptr<Engine> m_engine;
};

Offer UninstallationTest::removable(int id, const QStringList &depends) const
{
    Offer offer{id};
    offer.depends = depends;
    offer.remove = QStringList{QStringLiteral("package-%1").arg(id)};
    return offer;
}

Offer UninstallationTest::replacing(int id)
{
    Offer offer{id};
    offer.files = {{Lights, "package's"}};
    offer.backup = offer.remove = QStringList{Lights};
    return offer;
}

/// Installs the packages in order, uninstalls the first and returns which went in which order.
QVector<int> UninstallationTest::removalOrder(const QVector<int> &ids)
{
    QVector<int> order;
    const QObject context;
    for (const int id : ids) {
        m_engine->install(id);
        if (!m_engine->waitForState(id, Package::INSTALLED) || !m_engine->waitUntilSettled(id))
            return {};
        connect(m_engine->package(id).data(), &Package::stateChanged, &context,
                [&order, id](Package::State state) {
                    if (state == Package::AVAILABLE)
                        order.append(id);
                });
    }
    m_engine->controller().uninstall(m_engine->package(ids.first()));
    return order;
}

void UninstallationTest::filesGoAndTheRecordStays()
{
    m_engine->offer(removable(7));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVector<Package::State> states;
    connect(m_engine->package(7).data(), &Package::stateChanged, this,
            [&states](Package::State state) { states.append(state); });
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(states, (QVector<Package::State>{Package::UNINSTALLING, Package::AVAILABLE}));
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("package-7"))));
    QCOMPARE(m_engine->recordedStatus(7), 0);
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("1.0"));
    QVERIFY(m_engine->controller().installedVersion(m_engine->package(7)).isEmpty());
    QVERIFY(!m_engine->controller().isBusy());
}

void UninstallationTest::rulesAreThoseOfTheInstalledVersion()
{
    Offer older{7, QStringLiteral("1.0")};
    older.remove = QStringList{Engine::fileOf(7)};
    Offer newer{7, QStringLiteral("2.0")};
    newer.remove = QStringList{QStringLiteral("of the new version")};
    m_engine->offer(older);
    m_engine->offer(newer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("of the new version")), "stays"));
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(7))));
    QVERIFY(QFile::exists(m_engine->simulator(QStringLiteral("of the new version"))));
}

void UninstallationTest::dependentsGoFirst()
{
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    m_engine->offer(removable(3, {QStringLiteral("2")}));
    m_engine->offer(removable(4));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(4));
    QCOMPARE(removalOrder({1, 2, 3}), (QVector<int>{3, 2, 1}));
    for (const int id : {1, 2, 3})
        QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(id))));
    QCOMPARE(m_engine->package(4)->state(), Package::INSTALLED);
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(4))));
}

void UninstallationTest::sharedDependentsGoOnce()
{
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    m_engine->offer(removable(3, {QStringLiteral("1"), QStringLiteral("2")}));
    QVERIFY(m_engine->refresh());
    QCOMPARE(removalOrder({1, 2, 3}), (QVector<int>{3, 2, 1}));
}

void UninstallationTest::packagesThatNeedEachOtherAreBothRemoved()
{
    m_engine->offer(removable(1, {QStringLiteral("2")}));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    QVERIFY(m_engine->refresh());
    QCOMPARE(removalOrder({1, 2}), (QVector<int>{2, 1}));
}

void UninstallationTest::busyPackageIsLeftAlone()
{
    m_engine->offer(removable(7));
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).holdsGet = true;
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    const LogCapture log;
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(m_engine->package(7)->state(), Package::DOWNLOADING);
    QVERIFY(log.contains(QStringLiteral("Package is busy : package-7")));
    m_engine->server().release(QStringLiteral("/package-7-1.0.zip"));
    QVERIFY(m_engine->waitForState(7, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(7));
}

/// Tries to remove an installed package while the other one is on its way.
void UninstallationTest::removalIsRefused(int id, const QString &blocker)
{
    const PackageList blockers = m_engine->controller().removalBlockers(m_engine->package(id));
    QCOMPARE(blockers.size(), 1);
    QCOMPARE(blockers.first()->name(), blocker);
    const LogCapture log;
    m_engine->controller().uninstall(m_engine->package(id));
    QVERIFY(log.contains(QStringLiteral("Package is busy : ") + blocker));
    QCOMPARE(m_engine->package(id)->state(), Package::INSTALLED);
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(id))));
}

void UninstallationTest::packageThatAQueuedOneNeedsStays()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    m_engine->offer(removable(3));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    m_engine->stop();
    m_engine->setExtractor(extractor.program());
    QVERIFY(m_engine->refresh());
    m_engine->install(3);
    QVERIFY(extractor.waitUntilReached());
    m_engine->install(2);
    QVERIFY(m_engine->waitForState(2, Package::INSTALLING));
    removalIsRefused(1, QStringLiteral("package-2"));
    extractor.open();
    QVERIFY(m_engine->waitForState(2, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(2));
    QVERIFY(m_engine->controller().removalBlockers(m_engine->package(1)).isEmpty());
}

void UninstallationTest::packageThatADownloadingOneNeedsStays()
{
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    m_engine->install(2);
    QVERIFY(m_engine->waitForState(2, Package::DOWNLOADING));
    removalIsRefused(1, QStringLiteral("package-2"));
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(m_engine->waitForState(2, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(2));
}

void UninstallationTest::packageOfWhichADependentNeedsItsDependencyStays()
{
    // Removing 1 would remove 2, which 3 needs.
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    m_engine->offer(removable(3, {QStringLiteral("2")}));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(2));
    m_engine->server().resource(QStringLiteral("/package-3-1.0.zip")).holdsGet = true;
    m_engine->install(3);
    QVERIFY(m_engine->waitForState(3, Package::DOWNLOADING));
    removalIsRefused(1, QStringLiteral("package-3"));
    QCOMPARE(m_engine->package(2)->state(), Package::INSTALLED);
    m_engine->server().release(QStringLiteral("/package-3-1.0.zip"));
    QVERIFY(m_engine->waitForState(3, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(3));
}

void UninstallationTest::dependentThatIsNotYetRecordedKeepsWhatItNeeds()
{
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    // Stops the worker between the package's last state and the end of the task.
    QSemaphore tried;
    const QObject context;
    const auto stopWorker = [&tried, main = QThread::currentThread()] {
        if (QThread::currentThread() != main)
            tried.acquire();
    };
    connect(m_engine->package(2).data(), &Package::stateChanged, &context, stopWorker,
            Qt::DirectConnection);
    m_engine->install(2);
    const bool installed = m_engine->waitForState(2, Package::INSTALLED);
    m_engine->controller().uninstall(m_engine->package(1));
    const Package::State state = m_engine->package(2)->state();
    tried.release();
    QVERIFY(installed);
    QCOMPARE(state, Package::INSTALLED);
    QVERIFY(m_engine->waitUntilSettled(2));
    for (const int id : {1, 2}) {
        QCOMPARE(m_engine->recordedStatus(id), 1);
        QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(id))));
    }
}

void UninstallationTest::anotherPackageIsRemovedDuringAnInstallation()
{
    m_engine->offer(removable(1));
    m_engine->offer(removable(2));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    m_engine->install(2);
    bool removedMeanwhile = false;
    connect(m_engine->package(2).data(), &Package::stateChanged, this,
            [this, &removedMeanwhile](Package::State state) {
                if (state != Package::INSTALLING)
                    return;
                m_engine->controller().uninstall(m_engine->package(1));
                removedMeanwhile = true;
            });
    QVERIFY(m_engine->waitForState(2, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(2));
    QVERIFY(removedMeanwhile);
    QCOMPARE(m_engine->recordedStatus(1), 0);
    QCOMPARE(m_engine->recordedStatus(2), 1);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(1))));
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(2))));
}

void UninstallationTest::missingSimulatorKeepsThePackage_data()
{
    QTest::addColumn<QString>("moved");
    QTest::newRow("folder") << QString();
    QTest::newRow("executable") << QStringLiteral("X-Plane-x86_64");
}

void UninstallationTest::missingSimulatorKeepsThePackage()
{
    QFETCH(QString, moved);
    m_engine->offer(replacing(7));
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    const QString folder = m_engine->simulator({});
    const auto before = fileTree(folder);
    const MovedAway disk(folder + moved);
    const LogCapture log;
    QSignalSpy states(m_engine->package(7).data(), &Package::stateChanged);
    const Removal refused = m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(refused.missingSimulator && *refused.missingSimulator == folder);
    QVERIFY(log.contains(QStringLiteral("No simulator : ") + folder));
    QVERIFY(states.isEmpty());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->recordedStatus(7), 1);
    QCOMPARE(readFile(backup()), QByteArray("original"));

    QVERIFY(disk.bringBack());
    QCOMPARE(fileTree(folder), before);
    QVERIFY(!m_engine->controller().uninstall(m_engine->package(7)).missingSimulator);
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("original"));
}

void UninstallationTest::simulatorThatGoesMeanwhileKeepsTheRest_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("id");
    QTest::newRow("between two packages") << int(Package::AVAILABLE) << 2;
    QTest::newRow("during the second") << int(Package::UNINSTALLING) << 1;
}

void UninstallationTest::simulatorThatGoesMeanwhileKeepsTheRest()
{
    QFETCH(int, state);
    QFETCH(int, id);
    m_engine->offer(removable(1));
    m_engine->offer(removable(2, {QStringLiteral("1")}));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(2));
    const QString folder = m_engine->simulator({});
    std::unique_ptr<MovedAway> disk;
    const QObject context;
    connect(m_engine->package(id).data(), &Package::stateChanged, &context,
            [&disk, folder, state](Package::State reached) {
                if (reached == state && !disk)
                    disk = std::make_unique<MovedAway>(folder);
            });
    QVERIFY(m_engine->controller().uninstall(m_engine->package(1)).missingSimulator);
    QVERIFY(disk && disk->bringBack());
    QCOMPARE(m_engine->package(2)->state(), Package::AVAILABLE);
    QCOMPARE(m_engine->recordedStatus(2), 0);
    QCOMPARE(m_engine->package(1)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->recordedStatus(1), 1);
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(1))));
    QVERIFY(!m_engine->controller().uninstall(m_engine->package(1)).missingSimulator);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(1))));
}

void UninstallationTest::otherPeoplesFilesStay()
{
    QVERIFY(writeFiles(m_engine->profile().simulatorFolder(),
                       {{QStringLiteral("Custom Scenery/Mine/apt.dat"), "mine"},
                        {QStringLiteral("package-70/file.txt"), "mine"},
                        {QStringLiteral("Output/preferences/a.prf"), "mine"}}));
    const auto before = fileTree(m_engine->profile().simulatorFolder());
    m_engine->offer(removable(7));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(fileTree(m_engine->profile().simulatorFolder()), before);
}

void UninstallationTest::removalOfAnUpdatablePackageClearsItsMark()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(!m_engine->package(7)->isUpdateAvailable());
}

void UninstallationTest::backupStaysUntilTheRemovalIsDone()
{
    m_engine->offer(replacing(7));
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    // At the moment at which the removal is noted down, everything it needs must still be there.
    bool backedUp = false;
    connect(m_engine->package(7).data(), &Package::stateChanged, this,
            [this, &backedUp](Package::State state) {
                if (state == Package::AVAILABLE)
                    backedUp = readFile(backup()) == "original";
            });
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(backedUp);
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("original"));
    QVERIFY(!QFile::exists(backup()));
}

void UninstallationTest::backupLeftBehindIsClearedUpAtTheNextStart()
{
    m_engine->offer(replacing(7));
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    m_engine->controller().uninstall(m_engine->package(7));
    m_engine->stop();
    // As after a sudden end when the removal was noted down already.
    QVERIFY(writeFile(backup(), "original"));
    QVERIFY(m_engine->refresh());
    QVERIFY(!QFile::exists(backup()));
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("original"));

    // The user's own file is backed up anew, not mistaken for what was there before.
    QVERIFY(writeFile(m_engine->simulator(Lights), "changed"));
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(readFile(backup()), QByteArray("changed"));
}

void UninstallationTest::backupOfAnInstalledPackageIsNotClearedUp()
{
    // The add-on brings what was there before, letter for letter.
    m_engine->offer(replacing(7));
    QVERIFY(writeFile(m_engine->simulator(Lights), "package's"));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    m_engine->stop();
    QVERIFY(m_engine->refresh());
    QCOMPARE(readFile(backup()), QByteArray("package's"));
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("package's"));
}

void UninstallationTest::backupOfARunningInstallationIsNotClearedUp()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    const auto backingUp = [](int id) {
        Offer offer{id};
        offer.files = {{Lights, "package's"}};
        offer.backup = QStringList{Lights};
        return offer;
    };
    m_engine->offer(backingUp(7));
    m_engine->offer(backingUp(8));
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    m_engine->controller().uninstall(m_engine->package(7));
    m_engine->stop();
    m_engine->setExtractor(extractor.program());
    QVERIFY(m_engine->refresh());
    QVERIFY(writeFile(m_engine->simulator(Lights), "original"));
    m_engine->install(8);
    QVERIFY(extractor.waitUntilReached());
    // The running installation counts on this copy, and the original still stands in its place.
    QVERIFY(m_engine->refresh());
    QCOMPARE(readFile(backup()), QByteArray("original"));
    extractor.open();
    QVERIFY(m_engine->waitForState(8, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(8));
    QCOMPARE(readFile(m_engine->simulator(Lights)), QByteArray("package's"));
    QCOMPARE(readFile(backup()), QByteArray("original"));
}

KAVO_TEST_MAIN(UninstallationTest)
#include "UninstallationTest.moc"
