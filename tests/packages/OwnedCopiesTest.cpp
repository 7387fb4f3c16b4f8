#include "core/FileCopy.h"
#include "core/Settings.h"
#include "packages/installation/SettledCopy.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>

#include <algorithm>

using namespace Kavo;
using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const QString Lights = "Resources/bitmaps/lights.txt"_s;
const QString Preferences = "plugin/settings.ini"_s;

QByteArray lightsOf(int id, const QString &version = "1.0"_s)
{
    return Engine::contentOf(id, version) + " lights";
}

} // namespace

/// Checks that each kept copy and each backup is restored only in the simulator it is from, is
/// found after the user has changed its folder in the settings, and, if it is a backup, is restored
/// when the last add-on that needs it is removed.
///
/// Package 7 keeps the preferences and replaces the lights. Its version 2.0 contains preferences,
/// too. Other packages only replace the lights.
class OwnedCopiesTest final : public EngineTest
{
    Q_OBJECT

    /// Further entries of the removal rules, the package that is removed first, whether a refresh
    /// is running, and the lights after the first removal.
    using LastOnes = Rows<QStringList, int, bool, QByteArray>;

private slots:
    void eachSimulatorGetsItsOwnOriginalBack()
    {
        const FileTree eleven = fileTree(m_eleven);
        const FileTree twelve = fileTree(m_twelve);
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
        const FileTree before = tree();
        for (const QString &version : {"1.0"_s, "2.0"_s, "2.0"_s})
            QVERIFY(installAndWait(8, version));
        QCOMPARE(inSimulator(Lights), lightsOf(8, "2.0"_s));
        originalReturns(before);
    }

    void originalReturnsThatANewerVersionNoLongerLists()
    {
        QVERIFY(publish(
            {lights(8).removing({"package-8"_s, Lights}), lights(8, "2.0"_s).backingUp({})}));
        const FileTree before = tree();
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
        const FileTree before = tree();
        QVERIFY(installAndWait(8));
        // Without its mark, the backup is in the same state as after a sudden end right after
        // unpacking.
        QVERIFY(QFile::remove(settledMarkOf(backedUp(Lights))) && installAndWait(8));
        originalReturns(before);
    }

    void fileThatHasStayedIsBackedUpByTheNextInstallation_data()
    {
        Rows<int, bool>()
            .row("of the same add-on", 8, false)
            .row("of another add-on", 9, false)
            .row("of the same add-on after a start", 8, true)
            .row("of another add-on after a start", 9, true);
    }
    void fileThatHasStayedIsBackedUpByTheNextInstallation()
    {
        const auto [next, restarts] = Rows<int, bool>::current();
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
        const FileTree before = tree();
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
        const FileTree before = tree();
        QVERIFY(installAndWait(8) && installAndWait(9));
        QVERIFY(writeFile(simulator(Lights), "edited"));
        uninstall(8);
        QVERIFY(installAndWait(8));
        uninstall(9);
        originalReturns(before);
    }

    void restoredOriginalIsNotBackedUpAgain()
    {
        QVERIFY(publish({lights(8)}));
        const FileTree before = tree();
        QVERIFY(installAndWait(8) && writeFile(simulator(Lights), "edited"));
        uninstall(8);
        QVERIFY(writeFile(simulator(Lights), "lights of 11") && installAndWait(8));
        QCOMPARE(copies(), QStringList(Lights));
        // The backup is in use again, so a further installation keeps it.
        QVERIFY(writeFile(simulator(Lights), "edited") && installAndWait(8));
        originalReturns(before);
    }

    void fileOfAFailedRemovalIsNotBackedUp()
    {
        QVERIFY(publish({lights(8)}));
        const FileTree before = tree();
        QVERIFY(installAndWait(8));
        // A folder with the name of the temporary copy prevents restoring the original.
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
        Rows<QStringList>().row("without a removal rule", {}).row("with a removal rule", {Lights});
    }
    void originalWaitsForAnAddOnThatIsNoLongerOnOffer()
    {
        const auto [rule] = Rows<QStringList>::current();
        QVERIFY(publish({lights(8, "1.0"_s, rule)}));
        const QByteArray with8 = catalogue().body;
        QVERIFY(publish({lights(9, "1.0"_s, rule)}));
        const FileTree before = tree();
        QVERIFY(installAndWait(8) && installAndWait(9));
        catalogue().body = with8;
        QVERIFY(refreshAsServed());
        uninstall(8);
        QCOMPARE(inSimulator(Lights), lightsOf(9));
        QVERIFY(refresh());
        originalReturns(before, 9);
    }

    void originalWaitsForAnInstallationThatEndedSuddenly()
    {
        QVERIFY(publish({lights(8)}));
        const QByteArray with8 = catalogue().body;
        QVERIFY(publish({lights(9)}) && installAndWait(8) && installAndWait(9));
        stop();
        QVERIFY(executeOn(packageDatabase(),
                          {"UPDATE packages SET status = 4 WHERE package_id = 9"_s,
                           "UPDATE whole_versions SET version = '' WHERE package_id = 9"_s}));
        QVERIFY(restart());
        QCOMPARE(state(9), Package::AVAILABLE);
        catalogue().body = with8;
        QVERIFY(refreshAsServed());
        uninstall(8);
        QCOMPARE(inSimulator(Lights), lightsOf(9));
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
    }

    void originalReturnsWhenTheLastAddOnGoes_data()
    {
        LastOnes rows;
        for (const QStringList &rule : {QStringList(), QStringList(Lights),
                                        QStringList("./"_s + Lights), QStringList(Lights + u'/')}) {
            for (const int first : {8, 9}) {
                const QString name = "%1, %2 goes first"_s.arg(rule.value(0)).arg(first);
                rows.row(name.toLatin1(), rule, first, false, lightsOf(9))
                    .row(name.toLatin1() + ", during a refresh", rule, first, true, lightsOf(9));
            }
        }
        // A folder is removed as a whole, including files of other packages.
        rows.row("folder, 8 goes first", {"Resources/bitmaps"_s}, 8, false, "lights of 11");
    }
    void originalReturnsWhenTheLastAddOnGoes()
    {
        const auto [rule, first, refreshes, between] = LastOnes::current();
        QVERIFY(publish({lights(8, "1.0"_s, rule),
                         lights(9, "1.0"_s, rule).backingUp({"Resources/bitmaps//lights.txt"_s})}));
        const FileTree before = tree();
        QVERIFY(installAndWait(8) && installAndWait(9));
        const PackageList both{package(first), package(17 - first)};
        if (refreshes)
            controller().refresh();
        controller().uninstall(both.first());
        QCOMPARE(inSimulator(Lights), between);
        QCOMPARE(readFile(backedUp(Lights)), "lights of 11");
        controller().uninstall(both.last());
        QCOMPARE(tree(), before);
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
    }

    void copiesAreFoundAfterAChangeOfTheirFolder_data()
    {
        Rows<QStringList, bool>()
            .row("once", {"one"_s}, true)
            .row("in the same run", {"one"_s}, false)
            .row("twice", {"one"_s, "two"_s}, true)
            .row("there and back", {"one"_s, "two"_s, "one"_s}, true);
    }
    void copiesAreFoundAfterAChangeOfTheirFolder()
    {
        const auto [folders, restarts] = Rows<QStringList, bool>::current();
        const FileTree before = tree();
        QVERIFY(installAndWait(7, "1.0"_s) && writeFile(simulator(Preferences), "edited"));
        // Version 2.0 contains preferences, so the copy is not restored.
        QVERIFY(installAndWait(7, "2.0"_s));
        for (const QString &folder : qAsConst(folders)) {
            useFolders("moved/%1/preserve"_s.arg(folder), "moved/%1/backup"_s.arg(folder));
            // A file that is already in the new folder belongs to the user.
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

    void overlappingFoldersCostNoFile_data()
    {
        const QString simulator = "home/X-Plane"_s;
        const QString apart = "home/apart"_s;
        Rows<QString, QString, bool>()
            .row("preserve is the simulator", simulator, apart, false)
            .row("backup is the simulator", apart, simulator, false)
            .row("both are the simulator", simulator, simulator, false)
            .row("a link to the simulator", "link", apart, false)
            .row("preserve is backup", apart, apart, true)
            .row("preserve in backup", "home/apart/Resources", apart, true)
            .row("backup in preserve", apart, "home/apart/plugin", true)
            .row("preserve in the simulator", "home/X-Plane/Output/kept", apart, true)
            .row("backup in the simulator", apart, "home/X-Plane/Resources/backup", true)
            .row("the simulator in preserve", "home", apart, true)
            .row("the simulator in backup", apart, "home", true);
    }
    void overlappingFoldersCostNoFile()
    {
        const auto [preserve, backup, installs] = Rows<QString, QString, bool>::current();
        QVERIFY(QFile::link(m_eleven.chopped(1), profile().folder({}) + "link"_s));
        useFolders(preserve, backup);
        // Files of the user. In some rows, the first one is in a folder for copies.
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
        // Version 2.0 contains preferences, so the copy is not restored.
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

    /// A package that replaces the lights. Its removal rule contains its own folder and the entries
    /// of `rule`.
    static Offer lights(int id, const QString &version = "1.0"_s, const QStringList &rule = {})
    {
        return Offer{id, version}
            .bringing({{Engine::fileOf(id), "file"}, {Lights, lightsOf(id, version)}})
            .backingUp({Lights})
            .removing(QStringList("package-%1"_s.arg(id)) + rule);
    }
    /// Removes the package and checks that the simulator is as before and no backup is left.
    void originalReturns(const FileTree &before, int id = 8)
    {
        uninstall(id);
        QCOMPARE(tree(), before);
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
    }
    /// Deletes the databases and restarts with another simulator. Returns whether the list arrived.
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
    /// Path of an entry in the current simulator.
    QString simulator(const QString &path) const
    {
        return settings()->current(Settings::INSTALLATION) + path;
    }
    QByteArray inSimulator(const QString &path) const { return readFile(simulator(path)); }
    FileTree tree() const { return fileTree(simulator({})); }
    /// The files of the preserve and backup folders, without the program's marks.
    QStringList copies()
    {
        return filesOf(fileTree(profile().preserveFolder())).keys() +
               filesOf(fileTree(profile().backupFolder())).keys();
    }

    QString m_eleven;
    QString m_twelve;
};

KAVO_TEST_MAIN(OwnedCopiesTest)
#include "OwnedCopiesTest.moc"
