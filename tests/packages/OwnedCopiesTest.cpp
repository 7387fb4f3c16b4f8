#include "core/FileCopy.h"
#include "core/Settings.h"
#include "packages/installation/SettledCopy.h"
#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Kavo;
using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Lights = QStringLiteral("Resources/bitmaps/lights.txt");
const QString Preferences = QStringLiteral("plugin/settings.ini");

} // namespace

/// Whose a kept copy or a backup is: it returns to the simulator it is from, to the user who has
/// put another folder into the settings, and when the last add-on that needs it goes.
class OwnedCopiesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_engine.reset(); }

    void eachSimulatorGetsItsOwnOriginalBack();
    void eachSimulatorGetsItsOwnSettingsBack();

    void originalReturnsWithoutARemovalRule();
    void fileOfTheUsersStaysWithoutARemovalRule();
    void editOfAFileThatNoArchiveBringsStays();
    void originalReturnsAfterAnInstallationThatWasRepeated();
    void fileThatHasStayedIsBackedUpByTheNextInstallation_data();
    void fileThatHasStayedIsBackedUpByTheNextInstallation();
    void reinstallationKeepsTheFirstBackup();
    void addOnThatIsThereKeepsTheFirstBackup();
    void originalThatStandsInItsPlaceAgainIsNoOther();
    void fileOfAnAddOnThatCouldNotGoIsNotTheUsers();
    void originalWaitsForAnAddOnThatIsNoLongerOnOffer_data();
    void originalWaitsForAnAddOnThatIsNoLongerOnOffer();
    void originalReturnsWhenTheLastAddOnGoes_data();
    void originalReturnsWhenTheLastAddOnGoes();
    void originalReturnsThatANewerVersionNoLongerLists();

    void copiesAreFoundAfterAChangeOfTheirFolder_data();
    void copiesAreFoundAfterAChangeOfTheirFolder();
    void foldersInEachOthersWayCostNothing_data();
    void foldersInEachOthersWayCostNothing();
    void newestEditReturns();

private:
    /// Offers a package that replaces the lights.
    void offerLights(int id, const QString &version, const QStringList &backup,
                     const QStringList &remove);
    /// The next start of the program, with another folder in the settings. A new simulator means
    /// a new database.
    bool restartWith(Settings::Key key, const QString &folder);
    QString simulator(const QString &path) const
    {
        return m_engine->settings()->current(Settings::INSTALLATION) + path;
    }
    QMap<QString, QString> tree() const { return fileTree(simulator({})); }
    /// The files of the two folders for copies without the program's marks.
    QStringList copies() const;
    void uninstall(int id) { m_engine->controller().uninstall(m_engine->package(id)); }

    std::unique_ptr<Engine> m_engine;
    QString m_eleven;
    QString m_twelve;
};

void OwnedCopiesTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_eleven = m_engine->profile().simulatorFolder();
    m_twelve = m_engine->profile().folder(QStringLiteral("home/X-Plane 12"));
    QVERIFY(writeFile(m_eleven + Lights, "lights of 11"));
    QVERIFY(writeFile(m_twelve + Lights, "lights of 12"));
    QVERIFY(QFile::copy(m_eleven + QStringLiteral("X-Plane-x86_64"),
                        m_twelve + QStringLiteral("X-Plane-x86_64")));
    // The second version brings settings of its own.
    for (const char *version : {"1.0", "2.0"}) {
        Offer offer{7, QLatin1String(version)};
        offer.files = {{QStringLiteral("plugin/plugin.xpl"), version},
                       {Lights, QByteArray("lights of add-on ") + version}};
        if (QByteArray(version) == "2.0")
            offer.files.insert(Preferences, "settings of the add-on");
        offer.preserve = QStringList{Preferences};
        offer.backup = QStringList{Lights};
        offer.remove = QStringList{QStringLiteral("plugin"), Lights};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
}

bool OwnedCopiesTest::restartWith(Settings::Key key, const QString &folder)
{
    if (key == Settings::INSTALLATION)
        m_engine->controller().reset();
    m_engine->settings()->setPending(key, folder);
    m_engine->settings()->commit();
    m_engine->stop();
    return m_engine->refresh();
}

QStringList OwnedCopiesTest::copies() const
{
    return unmarkedFilesUnder(m_engine->profile().preserveFolder()) +
           unmarkedFilesUnder(m_engine->profile().backupFolder());
}

void OwnedCopiesTest::eachSimulatorGetsItsOwnOriginalBack()
{
    const auto eleven = fileTree(m_eleven);
    const auto twelve = fileTree(m_twelve);
    const QString backup = m_engine->profile().backupFolder() + Lights;
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(backup), QByteArray("lights of 11"));
    QVERIFY(restartWith(Settings::INSTALLATION, m_twelve));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(backup), QByteArray("lights of 12"));
    uninstall(7);
    QCOMPARE(tree(), twelve);
    QVERIFY(restartWith(Settings::INSTALLATION, m_eleven));
    QCOMPARE(readFile(m_eleven + Lights), QByteArray("lights of add-on 1.0"));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(backup), QByteArray("lights of 11"));
    uninstall(7);
    QCOMPARE(tree(), eleven);
    QCOMPARE(fileTree(m_twelve), twelve);
    QCOMPARE(copies(), QStringList());
}

void OwnedCopiesTest::eachSimulatorGetsItsOwnSettingsBack()
{
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(writeFile(m_eleven + Preferences, "settings for 11"));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QVERIFY(restartWith(Settings::INSTALLATION, m_twelve));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(!QFile::exists(m_twelve + Preferences));
    QVERIFY(writeFile(m_twelve + Preferences, "settings for 12"));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(m_twelve + Preferences), QByteArray("settings for 12"));
    QVERIFY(restartWith(Settings::INSTALLATION, m_eleven));
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(m_eleven + Preferences), QByteArray("settings for 11"));
    QCOMPARE(readFile(m_twelve + Preferences), QByteArray("settings for 12"));
}

void OwnedCopiesTest::offerLights(int id, const QString &version, const QStringList &backup,
                                  const QStringList &remove)
{
    Offer offer{id, version};
    offer.files = {{Engine::fileOf(id), "file"},
                   {Lights, Engine::contentOf(id, version) + " lights"}};
    offer.backup = backup;
    offer.remove = QStringList{QFileInfo(Engine::fileOf(id)).path()} + remove;
    m_engine->offer(offer);
}

void OwnedCopiesTest::originalReturnsWithoutARemovalRule()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    offerLights(8, QStringLiteral("2.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    for (const char *version : {"1.0", "2.0", "2.0"})
        QVERIFY(m_engine->installAndWait(8, QLatin1String(version)));
    QCOMPARE(readFile(simulator(Lights)), Engine::contentOf(8, QStringLiteral("2.0")) + " lights");
    uninstall(8);
    QCOMPARE(tree(), before);
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnedCopiesTest::fileOfTheUsersStaysWithoutARemovalRule()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(writeFile(simulator(Lights), "the user's own lights"));
    uninstall(8);
    QCOMPARE(readFile(simulator(Lights)), QByteArray("the user's own lights"));
    QCOMPARE(readFile(m_engine->profile().backupFolder() + Lights), QByteArray("lights of 11"));
}

void OwnedCopiesTest::editOfAFileThatNoArchiveBringsStays()
{
    Offer offer{8};
    offer.backup = QStringList{Lights};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(writeFile(simulator(Lights), "edited"));
    QVERIFY(m_engine->installAndWait(8));
    uninstall(8);
    QCOMPARE(readFile(simulator(Lights)), QByteArray("edited"));
}

void OwnedCopiesTest::originalReturnsAfterAnInstallationThatWasRepeated()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8));
    // As after a sudden end just behind the unpacking.
    QVERIFY(QFile::remove(settledMarkOf(m_engine->profile().backupFolder() + Lights)));
    QVERIFY(m_engine->installAndWait(8));
    uninstall(8);
    QCOMPARE(tree(), before);
}

void OwnedCopiesTest::fileThatHasStayedIsBackedUpByTheNextInstallation_data()
{
    QTest::addColumn<int>("next");
    QTest::addColumn<bool>("restarts");
    QTest::newRow("of the same add-on") << 8 << false;
    QTest::newRow("of another add-on") << 9 << false;
    QTest::newRow("of the same add-on after a start") << 8 << true;
    QTest::newRow("of another add-on after a start") << 9 << true;
}

void OwnedCopiesTest::fileThatHasStayedIsBackedUpByTheNextInstallation()
{
    QFETCH(int, next);
    QFETCH(bool, restarts);
    const QString backups = m_engine->profile().backupFolder();
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    offerLights(9, QStringLiteral("1.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(writeFile(simulator(Lights), "first"));
    uninstall(8);
    QCOMPARE(readFile(backups + Lights), QByteArray("lights of 11"));
    QByteArray newest = "first";
    for (const char *edit : {"second", "third"}) {
        if (restarts) {
            m_engine->stop();
            QVERIFY(m_engine->refresh());
        }
        QVERIFY(m_engine->installAndWait(next));
        QCOMPARE(readFile(backups + Lights), newest);
        QCOMPARE(readFile(simulator(Lights)),
                 Engine::contentOf(next, QStringLiteral("1.0")) + " lights");
        uninstall(next);
        QCOMPARE(readFile(simulator(Lights)), newest);
        QVERIFY(!QFile::exists(backups + Lights));
        QVERIFY(m_engine->installAndWait(next));
        newest = edit;
        QVERIFY(writeFile(simulator(Lights), newest));
        uninstall(next);
        QCOMPARE(readFile(simulator(Lights)), newest);
    }
    QList<QByteArray> waiting;
    for (const QString &copy : copies())
        waiting.append(readFile(backups + copy));
    std::sort(waiting.begin(), waiting.end());
    QCOMPARE(waiting, (QList<QByteArray>{"first", "lights of 11", "second"}));
}

void OwnedCopiesTest::reinstallationKeepsTheFirstBackup()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    offerLights(8, QStringLiteral("2.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    for (const char *version : {"1.0", "1.0", "2.0"}) {
        QVERIFY(m_engine->installAndWait(8, QLatin1String(version)));
        QVERIFY(writeFile(simulator(Lights), "edited"));
    }
    m_engine->stop();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(8));
    QCOMPARE(copies(), QStringList{Lights});
    uninstall(8);
    QCOMPARE(tree(), before);
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnedCopiesTest::addOnThatIsThereKeepsTheFirstBackup()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    offerLights(9, QStringLiteral("1.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(m_engine->installAndWait(9));
    QVERIFY(writeFile(simulator(Lights), "edited"));
    uninstall(8);
    QVERIFY(m_engine->installAndWait(8));
    uninstall(9);
    uninstall(8);
    QCOMPARE(tree(), before);
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnedCopiesTest::originalThatStandsInItsPlaceAgainIsNoOther()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(writeFile(simulator(Lights), "edited"));
    uninstall(8);
    QVERIFY(writeFile(simulator(Lights), "lights of 11"));
    QVERIFY(m_engine->installAndWait(8));
    QCOMPARE(copies(), QStringList{Lights});
    QVERIFY(writeFile(simulator(Lights), "edited"));
    // From here on the backup is in use as before.
    QVERIFY(m_engine->installAndWait(8));
    uninstall(8);
    QCOMPARE(tree(), before);
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnedCopiesTest::fileOfAnAddOnThatCouldNotGoIsNotTheUsers()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8));
    // No copy can grow there.
    const QString obstacle = hiddenBeside(simulator(Lights), QStringLiteral("copy"));
    QVERIFY(writeFile(obstacle + QStringLiteral("/file"), "in the way"));
    uninstall(8);
    QVERIFY(QDir(obstacle).removeRecursively());
    QCOMPARE(readFile(simulator(Lights)), Engine::contentOf(8, QStringLiteral("1.0")) + " lights");
    QVERIFY(m_engine->installAndWait(8));
    QCOMPARE(copies(), QStringList{Lights});
    uninstall(8);
    QCOMPARE(tree(), before);
}

void OwnedCopiesTest::originalWaitsForAnAddOnThatIsNoLongerOnOffer_data()
{
    QTest::addColumn<QStringList>("rule");
    QTest::newRow("without a removal rule") << QStringList();
    QTest::newRow("with a removal rule") << QStringList{Lights};
}

void OwnedCopiesTest::originalWaitsForAnAddOnThatIsNoLongerOnOffer()
{
    QFETCH(QStringList, rule);
    offerLights(8, QStringLiteral("1.0"), {Lights}, rule);
    QVERIFY(m_engine->refresh());
    const QByteArray with8 = m_engine->server().resource(QStringLiteral("/packages.json")).body;
    offerLights(9, QStringLiteral("1.0"), {Lights}, rule);
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(m_engine->installAndWait(9));
    m_engine->server().resource(QStringLiteral("/packages.json")).body = with8;
    QVERIFY(m_engine->refreshAsServed());
    uninstall(8);
    QCOMPARE(readFile(simulator(Lights)), Engine::contentOf(9, QStringLiteral("1.0")) + " lights");
    QVERIFY(m_engine->refresh());
    uninstall(9);
    QCOMPARE(tree(), before);
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnedCopiesTest::originalReturnsWhenTheLastAddOnGoes_data()
{
    QTest::addColumn<QStringList>("rule");
    QTest::addColumn<int>("first");
    QTest::addColumn<bool>("refreshes");
    QTest::addColumn<QByteArray>("between");
    const QByteArray later = Engine::contentOf(9, QStringLiteral("1.0")) + " lights";
    const QStringList rules[] = {{},
                                 {Lights},
                                 {QStringLiteral("./") + Lights},
                                 {QStringLiteral("Resources/bitmaps/lights.txt/")}};
    for (const QStringList &rule : rules) {
        for (const int first : {8, 9}) {
            for (const bool refreshes : {false, true}) {
                QTest::addRow("%s, %d goes first%s", qPrintable(rule.value(0)), first,
                              refreshes ? ", during a refresh" : "")
                    << rule << first << refreshes << later;
            }
        }
    }
    // A whole folder goes, whoever's files are in it.
    const QStringList folder{QStringLiteral("Resources/bitmaps")};
    QTest::newRow("folder, 8 goes first") << folder << 8 << false << QByteArray("lights of 11");
}

void OwnedCopiesTest::originalReturnsWhenTheLastAddOnGoes()
{
    QFETCH(QStringList, rule);
    QFETCH(int, first);
    QFETCH(bool, refreshes);
    QFETCH(QByteArray, between);
    QVERIFY(first == 8 || first == 9);
    offerLights(8, QStringLiteral("1.0"), {Lights}, rule);
    offerLights(9, QStringLiteral("1.0"), {QStringLiteral("Resources/bitmaps//lights.txt")}, rule);
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(m_engine->installAndWait(9));
    const PackagePointer one = m_engine->package(first);
    const PackagePointer other = m_engine->package(first == 8 ? 9 : 8);
    if (refreshes)
        m_engine->controller().refresh();
    m_engine->controller().uninstall(one);
    QCOMPARE(readFile(simulator(Lights)), between);
    QCOMPARE(readFile(m_engine->profile().backupFolder() + Lights), QByteArray("lights of 11"));
    m_engine->controller().uninstall(other);
    QCOMPARE(tree(), before);
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnedCopiesTest::originalReturnsThatANewerVersionNoLongerLists()
{
    offerLights(8, QStringLiteral("1.0"), {Lights}, {Lights});
    offerLights(8, QStringLiteral("2.0"), {}, {});
    QVERIFY(m_engine->refresh());
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(8, QStringLiteral("1.0")));
    QVERIFY(m_engine->installAndWait(8, QStringLiteral("2.0")));
    uninstall(8);
    QCOMPARE(tree(), before);
}

void OwnedCopiesTest::copiesAreFoundAfterAChangeOfTheirFolder_data()
{
    QTest::addColumn<QStringList>("folders");
    QTest::addColumn<bool>("restarts");
    QTest::newRow("once") << QStringList{QStringLiteral("one")} << true;
    QTest::newRow("in the same run") << QStringList{QStringLiteral("one")} << false;
    QTest::newRow("twice") << QStringList{QStringLiteral("one"), QStringLiteral("two")} << true;
    QTest::newRow("there and back")
        << QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("one")} << true;
}

void OwnedCopiesTest::copiesAreFoundAfterAChangeOfTheirFolder()
{
    QFETCH(QStringList, folders);
    QFETCH(bool, restarts);
    const QString standard = m_engine->profile().backupFolder();
    const auto before = tree();
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(writeFile(simulator(Preferences), "edited"));
    // The second version leaves the copy in the folder.
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    for (const QString &folder : qAsConst(folders)) {
        const QString name = QStringLiteral("moved/") + folder;
        const QString backup = m_engine->profile().folder(name + QStringLiteral("/backup"));
        const QString preserve = m_engine->profile().folder(name + QStringLiteral("/preserve"));
        // What is in the new folder already is the user's.
        QVERIFY(writeFile(backup + Lights, "somebody's"));
        m_engine->settings()->setPending(Settings::PRESERVE, preserve);
        m_engine->settings()->setPending(Settings::BACKUP, backup);
        m_engine->settings()->commit();
        if (restarts) {
            m_engine->stop();
            QVERIFY(m_engine->refresh());
        }
    }
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(simulator(Preferences)), QByteArray("edited"));
    uninstall(7);
    QCOMPARE(tree(), before);
    QCOMPARE(readFile(m_engine->settings()->current(Settings::BACKUP) + Lights),
             QByteArray("somebody's"));
    QCOMPARE(filesUnder(standard), QStringList());
    QCOMPARE(filesUnder(m_engine->profile().preserveFolder()), QStringList());
}

void OwnedCopiesTest::foldersInEachOthersWayCostNothing_data()
{
    QTest::addColumn<QString>("preserve");
    QTest::addColumn<QString>("backup");
    QTest::addColumn<bool>("installs");
    const QString simulator = QStringLiteral("home/X-Plane");
    const QString apart = QStringLiteral("home/apart");
    QTest::newRow("preserve is the simulator") << simulator << apart << false;
    QTest::newRow("backup is the simulator") << apart << simulator << false;
    QTest::newRow("both are the simulator") << simulator << simulator << false;
    QTest::newRow("a link to the simulator") << QStringLiteral("link") << apart << false;
    QTest::newRow("preserve is backup") << apart << apart << true;
    QTest::newRow("preserve in backup") << QStringLiteral("home/apart/Resources") << apart << true;
    QTest::newRow("backup in preserve") << apart << QStringLiteral("home/apart/plugin") << true;
    QTest::newRow("preserve in the simulator")
        << QStringLiteral("home/X-Plane/Output/kept") << apart << true;
    QTest::newRow("backup in the simulator")
        << apart << QStringLiteral("home/X-Plane/Resources/backup") << true;
    QTest::newRow("the simulator in preserve") << QStringLiteral("home") << apart << true;
    QTest::newRow("the simulator in backup") << apart << QStringLiteral("home") << true;
}

void OwnedCopiesTest::foldersInEachOthersWayCostNothing()
{
    QFETCH(QString, preserve);
    QFETCH(QString, backup);
    QFETCH(bool, installs);
    ScratchProfile &profile = m_engine->profile();
    QVERIFY(QFile::link(m_eleven.chopped(1), profile.folder({}) + QStringLiteral("link")));
    m_engine->settings()->setPending(Settings::PRESERVE, profile.folder(preserve));
    m_engine->settings()->setPending(Settings::BACKUP, profile.folder(backup));
    m_engine->settings()->commit();
    // Files of the user's, one of which could be taken for a copy.
    const QString own = profile.folder(QStringLiteral("home"));
    QVERIFY(writeFile(own + QStringLiteral("other/kept.txt"), "other"));
    QVERIFY(writeFile(m_eleven + Preferences, "edited"));
    m_engine->stop();
    QVERIFY(m_engine->refresh());
    for (const char *version : {"1.0", "1.0"}) {
        QCOMPARE(m_engine->installAndWait(7, QLatin1String(version)), installs);
        QCOMPARE(readFile(m_eleven + Preferences), QByteArray("edited"));
        if (!installs)
            QCOMPARE(readFile(m_eleven + Lights), QByteArray("lights of 11"));
        QVERIFY(m_engine->refresh());
    }
    if (installs)
        uninstall(7);
    QCOMPARE(readFile(m_eleven + Lights), QByteArray("lights of 11"));
    QCOMPARE(readFile(own + QStringLiteral("other/kept.txt")), QByteArray("other"));
}

void OwnedCopiesTest::newestEditReturns()
{
    // The second and the fourth of the updates bring settings of their own.
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QByteArray edit;
    for (const char *version : {"2.0", "1.0", "1.0", "2.0", "1.0"}) {
        edit = QByteArray("edit before ") + version + QByteArray::number(edit.size());
        QVERIFY(writeFile(m_eleven + Preferences, edit));
        const auto digest = fileTree(m_eleven).value(Preferences);
        QVERIFY(m_engine->installAndWait(7, QLatin1String(version)));
        const QString place =
            QByteArray(version) == "1.0" ? m_eleven : m_engine->profile().preserveFolder();
        QCOMPARE(fileTree(place).value(Preferences), digest);
    }
}

KAVO_TEST_MAIN(OwnedCopiesTest)
#include "OwnedCopiesTest.moc"
