#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTest>
#include <QThread>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

constexpr int Id = 7;
constexpr int Library = 8;
const QString Old = QStringLiteral("1.10"); ///< reads as a number
const QString New = QStringLiteral("2.0");
const QString NewArchive = QStringLiteral("/package-7-2.0.zip");
const QString LibraryArchive = QStringLiteral("/package-8-2.0.zip");

/// Ways in which an update ends before it has removed anything.
enum class Way {
    REFUSED,
    CUT,
    LEADS_OUT,
    DEPENDENCY_FAILS,
    CLOSED_WHILE_DOWNLOADING,
    CLOSED_WHILE_WAITING,
};

} // namespace

Q_DECLARE_METATYPE(Way)

/// An update that did not get as far as removing has not removed anything: the version before is
/// still installed. One that did has left nothing whole.
class StillInstalledTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_engine.reset(); }

    void versionBeforeIsInstalledAgain_data();
    void versionBeforeIsInstalledAgain();
    void refreshOfTheSameRunTakesItUp();
    void downgradeThatFailsLeavesTheNewerVersion();
    void refreshDuringTheUpdateShowsTheUpdate();
    void neededPackageIsNotTakenUpWhileItsDependantIsOnItsWay();
    void versionThatLeftTheCatalogueIsStillInstalled();
    void updateThatFailedAfterTheRemovalLeavesNothing();
    void removalThatCouldNotBeNotedIsNotedLater();
    void repeatedInstallationThatFailedLeavesNothing();
    void removedPackageIsNotTakenUp();
    void endBeforeTheRemovalFinishesTheUpdate();
    void installationsFromBeforeAreLearnt();
    void failuresFromBeforeAreLeftAsTheyAre();
    void laterWordsOfAnotherProgramCount_data();
    void laterWordsOfAnotherProgramCount();
    void halfRemovedPackageIsNotTakenUp();
    void resetForgets();
    void tableOfOthersCostsTheMemoryOnly_data();
    void tableOfOthersCostsTheMemoryOnly();
    void backupsOfWhatIsTakenUpStay();
    void editAfterASuddenEndReturns();

private:
    void offer(const QString &version, const QString &extract = {},
               const QStringList &depends = {});
    void fail(Way way);
    bool restart();
    void failUpdate();
    void checkOldIsInstalled();
    void checkNotInstalled();
    QString database() const
    {
        return m_engine->profile().dataFolder() + QStringLiteral("packages.db");
    }

    std::unique_ptr<Engine> m_engine;
};

void StillInstalledTest::init()
{
    m_engine = std::make_unique<Engine>();
    offer(Old);
    m_engine->offer({Library, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(Id));
}

/// Versions differ in what they bring and in what their rules remove.
void StillInstalledTest::offer(const QString &version, const QString &extract,
                               const QStringList &depends)
{
    Offer offer{Id, version};
    const QString folder = QStringLiteral("plugin ") + version;
    offer.files = {{folder + QStringLiteral("/data.txt"), "data of " + version.toUtf8()},
                   {folder + QStringLiteral("/more.txt"), "more"}};
    offer.remove = QStringList{folder};
    if (version == New)
        offer.remove << QStringLiteral("plugin ") + Old;
    offer.extract = extract;
    offer.depends = depends;
    m_engine->offer(offer);
}

void StillInstalledTest::fail(Way way)
{
    HttpResource &archive = m_engine->server().resource(NewArchive);
    switch (way) {
    case Way::REFUSED:
        archive.getStatus = 503;
        break;
    case Way::CUT:
        archive.resetAfter = 100;
        break;
    case Way::LEADS_OUT:
        break;
    case Way::DEPENDENCY_FAILS:
        m_engine->server().removeResource(LibraryArchive);
        break;
    case Way::CLOSED_WHILE_DOWNLOADING:
        archive.holdAfter = 100;
        break;
    case Way::CLOSED_WHILE_WAITING:
        m_engine->server().resource(LibraryArchive).holdsGet = true;
        break;
    }
}

bool StillInstalledTest::restart()
{
    m_engine->stop();
    return m_engine->refresh();
}

/// An update whose server is down.
void StillInstalledTest::failUpdate()
{
    offer(New);
    fail(Way::REFUSED);
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(Id, New));
    QCOMPARE(m_engine->recordedStatus(Id), int(Package::DOWNLOAD_ERROR));
    QCOMPARE(m_engine->recordedVersion(Id), New);
}

void StillInstalledTest::checkOldIsInstalled()
{
    const PackagePointer package = m_engine->package(Id);
    QCOMPARE(package->state(), Package::INSTALLED);
    QCOMPARE(m_engine->controller().installedVersion(package), Old);
    QCOMPARE(m_engine->recordedStatus(Id), 1);
    QCOMPARE(m_engine->recordedVersion(Id), Old);
    QVERIFY(package->isUpdateAvailable());
    QCOMPARE(fileTree(m_engine->simulator(QStringLiteral("plugin ") + Old)),
             expectedTree({{QStringLiteral("data.txt"), "data of " + Old.toUtf8()},
                           {QStringLiteral("more.txt"), "more"}}));
}

void StillInstalledTest::checkNotInstalled()
{
    QCOMPARE(m_engine->package(Id)->state(), Package::AVAILABLE);
    QVERIFY(m_engine->recordedStatus(Id) != 1);
    QVERIFY(m_engine->controller().installedVersion(m_engine->package(Id)).isEmpty());
}

void StillInstalledTest::versionBeforeIsInstalledAgain_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<Package::State>("state");
    QTest::newRow("the server refuses") << Way::REFUSED << Package::DOWNLOAD_ERROR;
    QTest::newRow("the transfer is cut") << Way::CUT << Package::DOWNLOAD_ERROR;
    QTest::newRow("the rules lead out") << Way::LEADS_OUT << Package::INSTALL_ERROR;
    QTest::newRow("what it needs fails") << Way::DEPENDENCY_FAILS << Package::DEPENDENCY_ERROR;
    QTest::newRow("closed while downloading")
        << Way::CLOSED_WHILE_DOWNLOADING << Package::DOWNLOADING;
    QTest::newRow("closed while waiting") << Way::CLOSED_WHILE_WAITING << Package::INSTALLING;
}

void StillInstalledTest::versionBeforeIsInstalledAgain()
{
    QFETCH(Way, way);
    QFETCH(Package::State, state);
    const bool needs = way == Way::DEPENDENCY_FAILS || way == Way::CLOSED_WHILE_WAITING;
    m_engine->offer({Library, New});
    offer(New, way == Way::LEADS_OUT ? QStringLiteral("../out") : QString(),
          needs ? QStringList{QStringLiteral("8:2.0")} : QStringList());
    fail(way);
    QVERIFY(m_engine->refresh());
    m_engine->install(Id, New);
    QVERIFY(m_engine->waitForState(Id, state));
    QTRY_COMPARE(m_engine->recordedStatus(Id), int(state));
    QCOMPARE(m_engine->recordedVersion(Id), New);

    QVERIFY(restart());
    checkOldIsInstalled();
    // It stays so, and goes by its own rules.
    QVERIFY(restart());
    checkOldIsInstalled();
    m_engine->controller().uninstall(m_engine->package(Id));
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("plugin ") + Old)));
    QVERIFY(restart());
    checkNotInstalled();
}

void StillInstalledTest::refreshOfTheSameRunTakesItUp()
{
    failUpdate();
    QVERIFY(m_engine->refresh());
    checkOldIsInstalled();
    m_engine->server().resource(NewArchive).getStatus.reset();
    QVERIFY(m_engine->installAndWait(Id, New));
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("plugin ") + Old)));
    QVERIFY(restart());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(Id)), New);
    QVERIFY(!m_engine->package(Id)->isUpdateAvailable());
}

void StillInstalledTest::downgradeThatFailsLeavesTheNewerVersion()
{
    offer(New);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(Id, New));
    m_engine->server().resource(QStringLiteral("/package-7-1.10.zip")).getStatus = 503;
    QVERIFY(!m_engine->installAndWait(Id, Old));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(Id)), New);
    QVERIFY(!m_engine->package(Id)->isUpdateAvailable());
}

void StillInstalledTest::refreshDuringTheUpdateShowsTheUpdate()
{
    offer(New);
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(NewArchive).holdAfter = 100;
    m_engine->install(Id, New);
    QVERIFY(m_engine->waitForState(Id, Package::DOWNLOADING));
    for (int round = 0; round < 2; ++round) {
        QVERIFY(m_engine->refresh());
        QCOMPARE(m_engine->package(Id)->state(), Package::DOWNLOADING);
        QCOMPARE(m_engine->recordedStatus(Id), int(Package::DOWNLOADING));
        QCOMPARE(m_engine->recordedVersion(Id), New);
        QVERIFY(m_engine->controller().runningDownload(m_engine->package(Id)));
    }
    m_engine->server().release(NewArchive);
    QVERIFY(m_engine->waitForState(Id, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(Id));
    QCOMPARE(m_engine->recordedVersion(Id), New);
}

/// Otherwise the new version of the one would be installed beside the old version of the other.
void StillInstalledTest::neededPackageIsNotTakenUpWhileItsDependantIsOnItsWay()
{
    QVERIFY(m_engine->installAndWait(Library));
    offer(New, {}, {QStringLiteral("8:2.0")});
    m_engine->offer({Library, New});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(LibraryArchive).getStatus = 503;
    m_engine->server().resource(NewArchive).holdAfter = 100;
    m_engine->install(Id, New);
    QVERIFY(m_engine->waitForState(Id, Package::DOWNLOADING));
    QVERIFY(m_engine->waitForState(Library, Package::DOWNLOAD_ERROR));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(Library)->state(), Package::AVAILABLE);
    m_engine->server().release(NewArchive);
    QVERIFY(m_engine->waitForState(Id, Package::DEPENDENCY_ERROR));
    QVERIFY(m_engine->refresh());
    checkOldIsInstalled();
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(Library)),
             QStringLiteral("1.0"));
}

void StillInstalledTest::versionThatLeftTheCatalogueIsStillInstalled()
{
    failUpdate();
    m_engine->stop();
    m_engine->server().serve(QStringLiteral("/packages.json"),
                             R"([{"id": 7, "versions": [{"version": "2.0"}]}])");
    QVERIFY(m_engine->refreshAsServed());
    checkOldIsInstalled();
}

void StillInstalledTest::updateThatFailedAfterTheRemovalLeavesNothing()
{
    offer(New);
    m_engine->server().resource(NewArchive).body = damagedArchiveOf({});
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(Id, New));
    QVERIFY(m_engine->refresh());
    checkNotInstalled();
    QVERIFY(restart());
    checkNotInstalled();
    QCOMPARE(m_engine->recordedStatus(Id), int(Package::INSTALL_ERROR));
}

void StillInstalledTest::removalThatCouldNotBeNotedIsNotedLater()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    m_engine->stop();
    offer(New);
    m_engine->server().resource(NewArchive).body = damagedArchiveOf({});
    QVERIFY(m_engine->refresh());
    QVERIFY(
        executeOn(database(), {QStringLiteral("CREATE TRIGGER t BEFORE INSERT ON whole_versions "
                                              "BEGIN SELECT RAISE(ABORT, 'not now'); END")}));
    const LogCapture log;
    m_engine->install(Id, New);
    QVERIFY(extractor.waitUntilReached());
    QVERIFY(log.count(QStringLiteral("SQL Error: not now")) > 0);
    QVERIFY(executeOn(database(), {QStringLiteral("DROP TRIGGER t")}));
    extractor.open();
    QVERIFY(m_engine->waitUntilSettled(Id));
    QVERIFY(restart());
    checkNotInstalled();
}

void StillInstalledTest::repeatedInstallationThatFailedLeavesNothing()
{
    m_engine->server().resource(QStringLiteral("/package-7-1.10.zip")).body = damagedArchiveOf({});
    QVERIFY(!m_engine->installAndWait(Id, Old));
    QVERIFY(restart());
    checkNotInstalled();
}

void StillInstalledTest::removedPackageIsNotTakenUp()
{
    m_engine->controller().uninstall(m_engine->package(Id));
    QVERIFY(restart());
    checkNotInstalled();
    failUpdate();
    QVERIFY(restart());
    checkNotInstalled();
}

/// The task asks whether it may remove when nobody hears it any more.
void StillInstalledTest::endBeforeTheRemovalFinishesTheUpdate()
{
    for (const QString &version : {QStringLiteral("1.0"), New}) {
        Offer offer{9, version};
        offer.preserve = QStringList{Engine::fileOf(9)};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(9, QStringLiteral("1.0")));
    bool ended = false;
    QObject context;
    // The first that is done after the task was started: nothing of what it says is heard before.
    const auto end = [this, &ended] {
        const QString copy = m_engine->profile().preserveFolder() + Engine::fileOf(9);
        const QDeadlineTimer deadline(m_engine->patience());
        while (!QFile::exists(copy) && !deadline.hasExpired())
            QThread::yieldCurrentThread();
        m_engine->stop();
        ended = true;
    };
    connect(m_engine->package(9).data(), &Package::stateChanged, &context,
            [&context, end](Package::State state) {
                if (state == Package::INSTALLING)
                    QMetaObject::invokeMethod(&context, end, Qt::QueuedConnection);
            });
    m_engine->install(9, New);
    QTRY_VERIFY_WITH_TIMEOUT(ended, m_engine->patience());
    QCOMPARE(m_engine->recordedStatus(9), 1);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(9)), New);
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(9))), Engine::contentOf(9, New));
}

void StillInstalledTest::installationsFromBeforeAreLearnt()
{
    m_engine->stop();
    QVERIFY(executeOn(database(), {QStringLiteral("DROP TABLE whole_versions")}));
    failUpdate();
    QVERIFY(restart());
    checkOldIsInstalled();
}

void StillInstalledTest::failuresFromBeforeAreLeftAsTheyAre()
{
    failUpdate();
    m_engine->stop();
    QVERIFY(executeOn(database(), {QStringLiteral("DROP TABLE whole_versions")}));
    const LogCapture log;
    QVERIFY(m_engine->refresh());
    checkNotInstalled();
    QCOMPARE(m_engine->recordedStatus(Id), int(Package::DOWNLOAD_ERROR));
    QCOMPARE(log.count(QStringLiteral("SQL Error: ")), 0);
}

void StillInstalledTest::laterWordsOfAnotherProgramCount_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("installed"); // after an update that failed
    QTest::newRow("removed") << "status = 0" << QString();
    QTest::newRow("updated") << "version = '1.11.1'" << QStringLiteral("1.11.1");
}

/// One that writes the rows and knows nothing of the table beside them.
void StillInstalledTest::laterWordsOfAnotherProgramCount()
{
    QFETCH(QString, row);
    QFETCH(QString, installed);
    m_engine->stop();
    QVERIFY(executeOn(database(),
                      {QStringLiteral("UPDATE packages SET %1 WHERE package_id = 7").arg(row)}));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(Id)), installed);
    if (installed.isEmpty())
        return;
    failUpdate();
    QVERIFY(restart());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(Id)), installed);
}

/// As a sudden end in the middle of a removal leaves it: installed, so that it can be removed
/// again.
void StillInstalledTest::halfRemovedPackageIsNotTakenUp()
{
    m_engine->stop();
    QVERIFY(executeOn(database(), {QStringLiteral("UPDATE whole_versions SET version = NULL")}));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(Id)->state(), Package::INSTALLED);
    failUpdate();
    QVERIFY(restart());
    checkNotInstalled();
}

void StillInstalledTest::resetForgets()
{
    failUpdate();
    m_engine->controller().reset();
    QVERIFY(!QFile::exists(database()));
    QVERIFY(m_engine->refresh());
    checkNotInstalled();
}

void StillInstalledTest::tableOfOthersCostsTheMemoryOnly_data()
{
    QTest::addColumn<QString>("statement");
    QTest::newRow("other columns") << "CREATE TABLE whole_versions (name TEXT)";
    QTest::newRow("a column more that must be given")
        << "CREATE TABLE whole_versions (package_id INTEGER PRIMARY KEY, version TEXT, "
           "owner TEXT NOT NULL)";
    QTest::newRow("a check that nothing passes")
        << "CREATE TABLE whole_versions (package_id INTEGER PRIMARY KEY, version TEXT CHECK (0))";
}

void StillInstalledTest::tableOfOthersCostsTheMemoryOnly()
{
    QFETCH(QString, statement);
    m_engine->stop();
    QVERIFY(executeOn(database(), {QStringLiteral("DROP TABLE whole_versions"), statement}));
    const LogCapture log;
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(Library));
    offer(New);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(Id, New));
    QVERIFY(log.count(QStringLiteral("SQL Error: ")) > 0);
    QVERIFY(restart());
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(Id)), New);
    QCOMPARE(m_engine->recordedStatus(Library), 1);
}

void StillInstalledTest::backupsOfWhatIsTakenUpStay()
{
    const QString lights = QStringLiteral("lights.png");
    QVERIFY(writeFile(m_engine->simulator(lights), "the simulator's"));
    for (const QString &version : {QStringLiteral("1.0"), New}) {
        Offer offer{9, version};
        offer.files = {{QStringLiteral("data.txt"), version.toUtf8()}};
        offer.backup = QStringList{lights};
        offer.remove = QStringList{QStringLiteral("data.txt"), lights};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(9, QStringLiteral("1.0")));
    const QString backup = m_engine->profile().backupFolder() + lights;
    QCOMPARE(readFile(backup), QByteArray("the simulator's"));
    m_engine->server().resource(QStringLiteral("/package-9-2.0.zip")).getStatus = 503;
    QVERIFY(!m_engine->installAndWait(9, New));
    // The original stands in its place, where it looks left over.
    QCOMPARE(readFile(m_engine->simulator(lights)), QByteArray("the simulator's"));
    // Neither while it is left to work that needs it, nor later.
    Offer dependant{10};
    dependant.depends = QStringList{QStringLiteral("9:1.0")};
    m_engine->offer(dependant);
    m_engine->server().resource(QStringLiteral("/package-10-1.0.zip")).holdAfter = 10;
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(9, New));
    m_engine->install(10);
    QVERIFY(m_engine->waitForState(10, Package::DOWNLOADING));
    QTRY_VERIFY(!m_engine->controller().isBusy());
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(9)->state(), Package::AVAILABLE);
    QCOMPARE(readFile(backup), QByteArray("the simulator's"));
    QVERIFY(restart());
    QCOMPARE(m_engine->package(9)->state(), Package::INSTALLED);
    QCOMPARE(readFile(backup), QByteArray("the simulator's"));
}

/// The update has died when all was copied and nothing removed; its copy is not the one that
/// counts.
void StillInstalledTest::editAfterASuddenEndReturns()
{
    const QString settings = QStringLiteral("plugin/settings.ini");
    for (const QString &version : {QStringLiteral("1.0"), New}) {
        Offer offer{9, version};
        offer.files = {{QStringLiteral("plugin/data.txt"), version.toUtf8()}};
        offer.preserve = QStringList{settings};
        offer.remove = QStringList{QStringLiteral("plugin")};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(9, QStringLiteral("1.0")));
    m_engine->stop();
    const QString copy = m_engine->profile().preserveFolder() + settings;
    QVERIFY(writeFile(m_engine->simulator(settings), "as it was"));
    QVERIFY(writeFile(copy, "as it was"));
    QVERIFY(executeOn(database(), {QStringLiteral("UPDATE packages SET status = 4, version = "
                                                  "x'322e30' WHERE package_id = 9")}));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(9)->state(), Package::INSTALLED);
    QVERIFY(!QFile::exists(copy));
    QVERIFY(writeFile(m_engine->simulator(settings), "as it is now"));
    QVERIFY(m_engine->installAndWait(9, New));
    QCOMPARE(readFile(m_engine->simulator(settings)), QByteArray("as it is now"));
}

KAVO_TEST_MAIN(StillInstalledTest)
#include "StillInstalledTest.moc"
