#include "core/FileCopy.h"
#include "core/Settings.h"
#include "packages/installation/SettledCopy.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Table.h"
#include "tests/support/TestMain.h"

#include <QDir>

#include <algorithm>

using namespace Kavo;
using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

using Tree = QMap<QString, QString>;

const QString Lights = "Resources/bitmaps/lights.txt"_s;
const QString Preferences = "plugin/settings.ini"_s;

QByteArray lightsOf(int id, const QString &version = "1.0"_s)
{
    return Engine::contentOf(id, version) + " lights";
}

} // namespace

/// Whose a kept copy or a backup is: it returns to the simulator it is from, to the user who has
/// put another folder into the settings, and when the last add-on that needs it goes.
///
/// Package 7 keeps the preferences and replaces the lights. Its second version brings preferences
/// of its own. Other packages only replace the lights.
class OwnedCopiesTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void eachSimulatorGetsItsOwnOriginalBack()
    {
        const Tree eleven = fileTree(m_eleven);
        const Tree twelve = fileTree(m_twelve);
        QVERIFY(installAndWait(7, "1.0"_s));
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
        QVERIFY(useSimulator(m_twelve) && installAndWait(7, "1.0"_s));
        QCOMPARE(readFile(backedUp(Lights)), "lights of 12");
        uninstall(7);
        QCOMPARE(tree(), twelve);
        QVERIFY(useSimulator(m_eleven));
        QCOMPARE(inSimulator(Lights), "lights of add-on 1.0");
        QVERIFY(installAndWait(7, "1.0"_s));
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
        uninstall(7);
        QCOMPARE(tree(), eleven);
        QCOMPARE(fileTree(m_twelve), twelve);
        QCOMPARE(copies(), QStringList());
    }

    void eachSimulatorGetsItsOwnSettingsBack()
    {
        QVERIFY(installAndWait(7, "1.0"_s));
        QVERIFY(writeFile(m_eleven + Preferences, "settings for 11"));
        QVERIFY(installAndWait(7, "2.0"_s));
        QVERIFY(useSimulator(m_twelve) && installAndWait(7, "1.0"_s));
        QVERIFY(!QFile::exists(m_twelve + Preferences));
        QVERIFY(writeFile(m_twelve + Preferences, "settings for 12"));
        QVERIFY(installAndWait(7, "2.0"_s) && installAndWait(7, "1.0"_s));
        QCOMPARE(readFile(m_twelve + Preferences), "settings for 12");
        QVERIFY(useSimulator(m_eleven) && installAndWait(7, "1.0"_s));
        QCOMPARE(readFile(m_eleven + Preferences), "settings for 11");
        QCOMPARE(readFile(m_twelve + Preferences), "settings for 12");
    }

    void originalReturnsWithoutARemovalRule()
    {
        QVERIFY(publish({lights(8), lights(8, "2.0"_s)}));
        const Tree before = tree();
        for (const QString &version : {"1.0"_s, "2.0"_s, "2.0"_s})
            QVERIFY(installAndWait(8, version));
        QCOMPARE(inSimulator(Lights), lightsOf(8, "2.0"_s));
        originalReturns(before);
    }

    void originalReturnsThatANewerVersionNoLongerLists()
    {
        QVERIFY(publish(
            {lights(8).removing({"package-8"_s, Lights}), lights(8, "2.0"_s).backingUp({})}));
        const Tree before = tree();
        QVERIFY(installAndWait(8, "1.0"_s) && installAndWait(8, "2.0"_s));
        originalReturns(before);
    }

    void fileOfTheUsersStaysWithoutARemovalRule()
    {
        QVERIFY(publish({lights(8)}) && installAndWait(8));
        QVERIFY(writeFile(simulator(Lights), "the user's own lights"));
        uninstall(8);
        QCOMPARE(inSimulator(Lights), "the user's own lights");
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
    }

    void editOfAFileThatNoArchiveBringsStays()
    {
        QVERIFY(publish({Offer{8}.backingUp({Lights})}) && installAndWait(8));
        QVERIFY(writeFile(simulator(Lights), "edited") && installAndWait(8));
        uninstall(8);
        QCOMPARE(inSimulator(Lights), "edited");
    }

    void originalReturnsAfterAnInstallationThatWasRepeated()
    {
        QVERIFY(publish({lights(8)}));
        const Tree before = tree();
        QVERIFY(installAndWait(8));
        // As after a sudden end just behind the unpacking.
        QVERIFY(QFile::remove(settledMarkOf(backedUp(Lights))) && installAndWait(8));
        originalReturns(before);
    }

    void fileThatHasStayedIsBackedUpByTheNextInstallation_data()
    {
        table<int, bool>({"next", "restarts"}, {{"of the same add-on", 8, false},
                                                {"of another add-on", 9, false},
                                                {"of the same add-on after a start", 8, true},
                                                {"of another add-on after a start", 9, true}});
    }
    void fileThatHasStayedIsBackedUpByTheNextInstallation()
    {
        QFETCH(int, next);
        QFETCH(bool, restarts);
        QVERIFY(publish({lights(8), lights(9)}) && installAndWait(8));
        QVERIFY(writeFile(simulator(Lights), "first"));
        uninstall(8);
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
        QByteArray newest = "first";
        for (const char *edit : {"second", "third"}) {
            QVERIFY(!restarts || restart());
            QVERIFY(installAndWait(next));
            QCOMPARE(readFile(backedUp(Lights)), newest);
            QCOMPARE(inSimulator(Lights), lightsOf(next));
            uninstall(next);
            QCOMPARE(inSimulator(Lights), newest);
            QVERIFY(!QFile::exists(backedUp(Lights)));
            QVERIFY(installAndWait(next));
            newest = edit;
            QVERIFY(writeFile(simulator(Lights), newest));
            uninstall(next);
            QCOMPARE(inSimulator(Lights), newest);
        }
        QList<QByteArray> waiting;
        for (const QString &copy : copies())
            waiting.append(readFile(backedUp(copy)));
        std::sort(waiting.begin(), waiting.end());
        QCOMPARE(waiting, (QList<QByteArray>{"first", "lights of 11", "second"}));
    }

    void reinstallationKeepsTheFirstBackup()
    {
        QVERIFY(publish({lights(8), lights(8, "2.0"_s)}));
        const Tree before = tree();
        for (const QString &version : {"1.0"_s, "1.0"_s, "2.0"_s}) {
            QVERIFY(installAndWait(8, version));
            QVERIFY(writeFile(simulator(Lights), "edited"));
        }
        QVERIFY(restart() && installAndWait(8));
        QCOMPARE(copies(), QStringList(Lights));
        originalReturns(before);
    }

    void addOnThatIsThereKeepsTheFirstBackup()
    {
        QVERIFY(publish({lights(8), lights(9)}));
        const Tree before = tree();
        QVERIFY(installAndWait(8) && installAndWait(9));
        QVERIFY(writeFile(simulator(Lights), "edited"));
        uninstall(8);
        QVERIFY(installAndWait(8));
        uninstall(9);
        originalReturns(before);
    }

    void originalThatStandsInItsPlaceAgainIsNoOther()
    {
        QVERIFY(publish({lights(8)}));
        const Tree before = tree();
        QVERIFY(installAndWait(8) && writeFile(simulator(Lights), "edited"));
        uninstall(8);
        QVERIFY(writeFile(simulator(Lights), "lights of 11") && installAndWait(8));
        QCOMPARE(copies(), QStringList(Lights));
        // From here on the backup is in use as before.
        QVERIFY(writeFile(simulator(Lights), "edited") && installAndWait(8));
        originalReturns(before);
    }

    void fileOfAnAddOnThatCouldNotGoIsNotTheUsers()
    {
        QVERIFY(publish({lights(8)}));
        const Tree before = tree();
        QVERIFY(installAndWait(8));
        // No copy can grow there.
        const QString obstacle = hiddenBeside(simulator(Lights), "copy"_s);
        QVERIFY(writeFile(obstacle + "/file"_s, "in the way"));
        uninstall(8);
        QVERIFY(QDir(obstacle).removeRecursively());
        QCOMPARE(inSimulator(Lights), lightsOf(8));
        QVERIFY(installAndWait(8));
        QCOMPARE(copies(), QStringList(Lights));
        originalReturns(before);
    }

    void originalWaitsForAnAddOnThatIsNoLongerOnOffer_data()
    {
        table<QStringList>({"rule"}, {{"without a removal rule", {}},
                                      {"with a removal rule", QStringList(Lights)}});
    }
    void originalWaitsForAnAddOnThatIsNoLongerOnOffer()
    {
        QFETCH(QStringList, rule);
        QVERIFY(publish({lights(8, "1.0"_s, rule)}));
        const QByteArray with8 = catalogue().body;
        QVERIFY(publish({lights(9, "1.0"_s, rule)}));
        const Tree before = tree();
        QVERIFY(installAndWait(8) && installAndWait(9));
        catalogue().body = with8;
        QVERIFY(refreshAsServed());
        uninstall(8);
        QCOMPARE(inSimulator(Lights), lightsOf(9));
        QVERIFY(refresh());
        originalReturns(before, 9);
    }

    void originalReturnsWhenTheLastAddOnGoes_data()
    {
        QTest::addColumn<QStringList>("rule");
        QTest::addColumn<int>("first");
        QTest::addColumn<bool>("refreshes");
        QTest::addColumn<QByteArray>("between");
        for (const QStringList &rule : {QStringList(), QStringList(Lights),
                                        QStringList("./"_s + Lights), QStringList(Lights + u'/')}) {
            for (const int first : {8, 9}) {
                for (const bool refreshes : {false, true})
                    QTest::addRow("%s, %d goes first%s", qPrintable(rule.value(0)), first,
                                  refreshes ? ", during a refresh" : "")
                        << rule << first << refreshes << lightsOf(9);
            }
        }
        // A whole folder goes, whoever's files are in it.
        QTest::newRow("folder, 8 goes first")
            << QStringList("Resources/bitmaps"_s) << 8 << false << QByteArray("lights of 11");
    }
    void originalReturnsWhenTheLastAddOnGoes()
    {
        QFETCH(QStringList, rule);
        QFETCH(int, first);
        QFETCH(bool, refreshes);
        QFETCH(QByteArray, between);
        QVERIFY(publish({lights(8, "1.0"_s, rule),
                         lights(9, "1.0"_s, rule).backingUp({"Resources/bitmaps//lights.txt"_s})}));
        const Tree before = tree();
        QVERIFY(installAndWait(8) && installAndWait(9));
        const PackagePointer one = package(first);
        const PackagePointer other = package(17 - first);
        if (refreshes)
            controller().refresh();
        controller().uninstall(one);
        QCOMPARE(inSimulator(Lights), between);
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
        controller().uninstall(other);
        QCOMPARE(tree(), before);
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
    }

    void copiesAreFoundAfterAChangeOfTheirFolder_data()
    {
        table<QStringList, bool>(
            {"folders", "restarts"},
            {{"once", QStringList{"one"_s}, true},
             {"in the same run", QStringList{"one"_s}, false},
             {"twice", QStringList{"one"_s, "two"_s}, true},
             {"there and back", QStringList{"one"_s, "two"_s, "one"_s}, true}});
    }
    void copiesAreFoundAfterAChangeOfTheirFolder()
    {
        QFETCH(QStringList, folders);
        QFETCH(bool, restarts);
        const Tree before = tree();
        QVERIFY(installAndWait(7, "1.0"_s) && writeFile(simulator(Preferences), "edited"));
        // The second version leaves the copy in the folder.
        QVERIFY(installAndWait(7, "2.0"_s));
        for (const QString &folder : qAsConst(folders)) {
            useFolders("moved/%1/preserve"_s.arg(folder), "moved/%1/backup"_s.arg(folder));
            // What is in the new folder already is the user's.
            QVERIFY(writeFile(settings()->current(Settings::BACKUP) + Lights, "somebody's"));
            QVERIFY(!restarts || restart());
        }
        QVERIFY(installAndWait(7, "1.0"_s));
        QCOMPARE(inSimulator(Preferences), "edited");
        uninstall(7);
        QCOMPARE(tree(), before);
        QCOMPARE(readFile(settings()->current(Settings::BACKUP) + Lights), "somebody's");
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
        QCOMPARE(filesUnder(profile().preserveFolder()), QStringList());
    }

    void foldersInEachOthersWayCostNothing_data()
    {
        const QString simulator = "home/X-Plane"_s;
        const QString apart = "home/apart"_s;
        table<QString, QString, bool>(
            {"preserve", "backup", "installs"},
            {{"preserve is the simulator", simulator, apart, false},
             {"backup is the simulator", apart, simulator, false},
             {"both are the simulator", simulator, simulator, false},
             {"a link to the simulator", "link"_s, apart, false},
             {"preserve is backup", apart, apart, true},
             {"preserve in backup", "home/apart/Resources"_s, apart, true},
             {"backup in preserve", apart, "home/apart/plugin"_s, true},
             {"preserve in the simulator", "home/X-Plane/Output/kept"_s, apart, true},
             {"backup in the simulator", apart, "home/X-Plane/Resources/backup"_s, true},
             {"the simulator in preserve", "home"_s, apart, true},
             {"the simulator in backup", apart, "home"_s, true}});
    }
    void foldersInEachOthersWayCostNothing()
    {
        QFETCH(QString, preserve);
        QFETCH(QString, backup);
        QFETCH(bool, installs);
        QVERIFY(QFile::link(m_eleven.chopped(1), profile().folder({}) + "link"_s));
        useFolders(preserve, backup);
        // Files of the user's, one of which could be taken for a copy.
        const QString own = profile().folder("home"_s) + "other/kept.txt"_s;
        QVERIFY(writeFile(own, "other") && writeFile(m_eleven + Preferences, "edited"));
        QVERIFY(restart());
        for (int attempt = 0; attempt < 2; ++attempt) {
            QCOMPARE(installAndWait(7, "1.0"_s), installs);
            QCOMPARE(readFile(m_eleven + Preferences), "edited");
            QCOMPARE(readFile(m_eleven + Lights),
                     installs ? "lights of add-on 1.0" : "lights of 11");
            QVERIFY(refresh());
        }
        if (installs)
            uninstall(7);
        QCOMPARE(readFile(m_eleven + Lights), "lights of 11");
        QCOMPARE(readFile(own), "other");
    }

    void newestEditReturns()
    {
        // The second and the fourth of the updates bring settings of their own.
        QVERIFY(installAndWait(7, "1.0"_s));
        QByteArray edit;
        for (const QString &version : {"2.0"_s, "1.0"_s, "1.0"_s, "2.0"_s, "1.0"_s}) {
            edit = "edit " + QByteArray::number(edit.size()) + " before " + version.toUtf8();
            QVERIFY(writeFile(m_eleven + Preferences, edit) && installAndWait(7, version));
            const bool bringsIts = version == "2.0"_s;
            QCOMPARE(readFile(bringsIts ? preserved(Preferences) : m_eleven + Preferences), edit);
        }
    }

private:
    void setUp() override
    {
        m_eleven = profile().simulatorFolder();
        m_twelve = profile().folder("home/X-Plane 12"_s);
        QVERIFY(writeFile(m_eleven + Lights, "lights of 11"));
        QVERIFY(writeFile(m_twelve + Lights, "lights of 12"));
        QVERIFY(QFile::copy(m_eleven + "X-Plane-x86_64"_s, m_twelve + "X-Plane-x86_64"_s));
        for (const char *version : {"1.0", "2.0"}) {
            Files files{{"plugin/plugin.xpl"_s, version},
                        {Lights, QByteArray("lights of add-on ") + version}};
            if (QByteArray(version) == "2.0")
                files.insert(Preferences, "settings of the add-on");
            offer(Offer{7, QLatin1String(version)}
                      .bringing(files)
                      .keeping({Preferences})
                      .backingUp({Lights})
                      .removing({"plugin"_s, Lights}));
        }
        QVERIFY(refresh());
    }

    /// A package that replaces the lights, and removes its own folder and what the rule says.
    static Offer lights(int id, const QString &version = "1.0"_s, const QStringList &rule = {})
    {
        return Offer{id, version}
            .bringing({{Engine::fileOf(id), "file"}, {Lights, lightsOf(id, version)}})
            .backingUp({Lights})
            .removing(QStringList("package-%1"_s.arg(id)) + rule);
    }
    /// Removes the package, after which all is as it was and no copy waits any more.
    void originalReturns(const Tree &before, int id = 8)
    {
        uninstall(id);
        QCOMPARE(tree(), before);
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
    }
    /// The next start with another simulator, and a new database.
    bool useSimulator(const QString &folder)
    {
        controller().reset();
        settings()->setPending(Settings::INSTALLATION, folder);
        settings()->commit();
        return restart();
    }
    void useFolders(const QString &preserve, const QString &backup)
    {
        settings()->setPending(Settings::PRESERVE, profile().folder(preserve));
        settings()->setPending(Settings::BACKUP, profile().folder(backup));
        settings()->commit();
    }
    /// In the simulator that is in use.
    QString simulator(const QString &path) const
    {
        return settings()->current(Settings::INSTALLATION) + path;
    }
    QByteArray inSimulator(const QString &path) const { return readFile(simulator(path)); }
    Tree tree() const { return fileTree(simulator({})); }
    /// The files of the two folders for copies without the program's marks.
    QStringList copies()
    {
        return unmarkedFilesUnder(profile().preserveFolder()) +
               unmarkedFilesUnder(profile().backupFolder());
    }

    QString m_eleven;
    QString m_twelve;
};

KAVO_TEST_MAIN(OwnedCopiesTest)
#include "OwnedCopiesTest.moc"
