#include "packages/installation/PackageFiles.h"

#include "packages/installation/SettledCopy.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>

#include <memory>
#include <sys/stat.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

/// Applies the rules of a version to files. Beside the simulator there are somebody else's folder
/// (m_outside), which no test may change, and a second disk of the user (m_disk), where only paths
/// that a rule names may change.
class PackageFilesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        m_folders = {m_profile->simulatorFolder(), m_profile->preserveFolder(),
                     m_profile->backupFolder()};
        m_version = PackageVersionPointer::create();
        m_program = readFile(simulator("X-Plane-x86_64"_s));
        m_outside = m_profile->folder("outside"_s);
        m_disk = m_profile->folder("second disk"_s);
        QVERIFY(writeFile(m_outside + "victim.txt"_s, "theirs"));
        QVERIFY(writeFile(m_disk + "Other/other.txt"_s, "other"));
    }

    void cleanup()
    {
        QCOMPARE(readFiles(m_outside), (Files{{"victim.txt"_s, "theirs"}}));
        QCOMPARE(readFile(m_disk + "Other/other.txt"_s), "other");
        m_profile.reset();
    }

    void listedFilesAndFoldersAreRemoved()
    {
        put({{"a/own.txt"_s, "own"}, {"a/other.txt"_s, "other"}, {"b/deep/.hidden"_s, "own"}});
        remove({"a/own.txt"_s, "missing/file"_s, "b/"_s});
        const LogCapture log;
        files().remove();
        QCOMPARE(tree(), treeOf({{"a/other.txt"_s, "other"}}));
        QCOMPARE(log.lines(), QStringList("Removing directory : "_s + simulator("b"_s)));
    }

    void entriesThatLeaveTheSimulatorAreSkipped_data()
    {
        Rows<QString>()
            .row("empty: the whole simulator", QString())
            .row("dot: the whole simulator", ".")
            .row("parent", "../outside")
            .row("parent by way of a child", "a/../../outside")
            .row("two up", "../..")
            .row("absolute", "@OUTSIDE@")
            .row("file outside", "../outside/victim.txt")
            .row("absolute file", "@OUTSIDE@victim.txt")
            .row("by a link among the package's files", "own/link/victim.txt")
            .row("by a loop of one link", "own/loop/file")
            .row("by a loop of two links", "own/ping/a/b");
    }
    void entriesThatLeaveTheSimulatorAreSkipped()
    {
        auto [entry] = Rows<QString>::current();
        entry.replace("@OUTSIDE@"_s, m_outside);
        put({{"a/mine.txt"_s, "mine"}, {"own/own.txt"_s, "own"}});
        for (const auto &[target, name] : {qMakePair(m_outside, "link"_s),
                                           {"loop"_s, "loop"_s},
                                           {"pong"_s, "ping"_s},
                                           {"ping"_s, "pong"_s}})
            link(target, simulator("own/"_s + name));
        const QString skipped = "Skipping path : "_s + entry;
        keep({entry});
        backUp({entry});
        remove({entry, "a/mine.txt"_s, "own"_s});
        {
            const LogCapture log;
            files().secure();
            QCOMPARE(log.lines(), QStringList({skipped, skipped}));
        }
        QVERIFY(filesUnder(m_folders.preserve).isEmpty() && filesUnder(m_folders.backup).isEmpty());
        const LogCapture log;
        files().remove();
        QVERIFY(log.contains(skipped));
        // The other entries of the list were applied.
        QCOMPARE(tree(), treeOf({{"a/"_s, ""}}));
    }

    void copyWhosePlaceLeadsOutStays()
    {
        const QStringList entries{"own/link/victim.txt"_s, "own/loop/file"_s};
        link(m_outside, simulator("own/link"_s));
        link("loop"_s, simulator("own/loop"_s));
        keep(entries);
        remove({"own"_s});
        for (const QString &entry : entries)
            write(kept(entry), "user's");
        const LogCapture log;
        files().restorePreserved();
        for (const QString &entry : entries) {
            QVERIFY(log.contains("Skipping path : "_s + entry));
            QCOMPARE(readFile(kept(entry)), "user's");
        }
    }

    void linkOfTheUserOnTheWayIsFollowed_data()
    {
        Rows<QString, QString, QString>()
            .row("first folder", "link", "link/Field", "Field/own.txt")
            .row("in the middle", "Custom Scenery/link", "Custom Scenery/link/deep/Field",
                 "deep/Field/own.txt")
            .row("a file", "link", "link/Field/own.txt", "Field/own.txt")
            .row("to the folder that is unpacked into", "Custom Scenery", "Custom Scenery/Field",
                 "Field/own.txt");
    }
    void linkOfTheUserOnTheWayIsFollowed()
    {
        const auto [link, entry, file] = Rows<QString, QString, QString>::current();
        this->link(m_disk, simulator(link));
        const QString path = link + u'/' + file;
        write(m_disk + file, "own");
        m_version->install->extract = "Custom Scenery"_s;
        keep({path});
        backUp({path});
        remove({entry});
        const LogCapture log;
        files().secure();
        QCOMPARE(readFile(kept(path)), "own");
        QCOMPARE(readFile(backup(path)), "own");
        write(m_disk + file, "package's");
        files().remove();
        QCOMPARE(readFile(m_disk + file), "own");
        backUp({});
        files().remove();
        QVERIFY(!QFile::exists(m_disk + file));
        QCOMPARE(log.count("Skipping path : "_s), 0);
        QVERIFY(QFileInfo(simulator(link)).isSymLink());
    }

    void linkBelowARemovalEntryIsNoWayOut()
    {
        // The path leads through a link of the user to the package's folder, and there through a
        // link from the package.
        const QString victim = "Scenery/Field/door/victim.txt"_s;
        const QString added = "Scenery/Field/door/added.txt"_s;
        link(m_disk, simulator("Scenery"_s));
        link(m_outside, m_disk + "Field/door"_s);
        write(backup(added), "from the package");
        keep({victim, added});
        backUp({victim, added});
        // The rule also names the link itself, but the link is below another entry.
        remove({victim, added, "Scenery/Field/door/"_s, "Scenery/Field/"_s});
        const LogCapture log;
        files().secure();
        QVERIFY(!QFile::exists(kept(victim)) && !QFile::exists(backup(victim)));
        QCOMPARE(log.lines().count("Skipping path : "_s + victim), 2);
        files().remove();
        QVERIFY(!QFileInfo(m_disk + "Field/door"_s).isSymLink());
    }

    void linkBelowARemovalEntryMayLeadInside()
    {
        const QString settings = "Scenery/Field/short/settings.ini"_s;
        write(m_disk + "Field/real/settings.ini"_s, "user's");
        link(m_disk, simulator("Scenery"_s));
        link("real"_s, m_disk + "Field/short"_s);
        keep({settings});
        remove({"Scenery/Field"_s});
        files().secure();
        QCOMPARE(readFile(kept(settings)), "user's");
    }

    void folderThatHoldsANeededOneIsSkipped_data()
    {
        Rows<int>().row("the simulator", 0).row("the kept files", 1).row("the backups", 2);
    }
    void folderThatHoldsANeededOneIsSkipped()
    {
        const auto [number] = Rows<int>::current();
        const QStringList needed{m_folders.installation, m_folders.preserve, m_folders.backup};
        // Through these links, the first entry names the folder itself and the second one its
        // parent.
        const QFileInfo folder(QDir::cleanPath(needed.at(number)));
        const QFileInfo above(folder.path());
        QVERIFY(QDir().mkpath(folder.filePath()));
        link(above.filePath(), simulator("up"_s));
        link(above.path(), simulator("upper"_s));
        const QStringList entries{"up/"_s + folder.fileName(), "upper/"_s + above.fileName()};
        remove(entries);
        const LogCapture log;
        files().remove();
        for (const QString &entry : entries)
            QVERIFY(log.contains("Skipping path : "_s + entry));
        // The links themselves may be removed.
        remove({"up"_s, "upper"_s});
        files().remove();
        QVERIFY(QFileInfo(folder.filePath()).isDir());
        QCOMPARE(tree(), treeOf({}));
    }

    void copiesInTheSimulatorAreNotRemoved()
    {
        m_folders.preserve = simulator("Output/kept/"_s);
        put({{"Output/kept/plugin/settings.ini"_s, "user's"}, {"Output/other/own.txt"_s, "own"}});
        remove({"Output/kept/plugin"_s, "Output/other"_s});
        const LogCapture log;
        files().remove();
        QVERIFY(log.contains("Skipping path : Output/kept/plugin"_s));
        QCOMPARE(tree(), treeOf({{"Output/kept/plugin/settings.ini"_s, "user's"}}));
    }

    void removedLinkIsNotFollowed_data()
    {
        Rows<QString, QString, QString>()
            .row("to a folder", "link", "@OUTSIDE@", "link/")
            .row("to nowhere", "link", "/nowhere/at/all", "link")
            .row("inside of a folder", "a/link", "@OUTSIDE@", "a")
            .row("to the folder above", "a/loop", "..", "a");
    }
    void removedLinkIsNotFollowed()
    {
        auto [link, target, entry] = Rows<QString, QString, QString>::current();
        this->link(target.replace("@OUTSIDE@"_s, m_outside), simulator(link));
        remove({entry});
        files().remove();
        QCOMPARE(tree(), treeOf({}));
    }

    void preservedFileComesBackAndItsCopyGoes()
    {
        const QString path = "plugin/settings.ini"_s;
        put({{path, "user's"}});
        keep({path});
        files().secure();
        QCOMPARE(readFile(kept(path)), "user's");
        QVERIFY(QDir(simulator("plugin"_s)).removeRecursively());
        files().restorePreserved();
        QCOMPARE(readFile(simulator(path)), "user's");
        QVERIFY(!QFile::exists(kept(path)));
    }

    // Fixed, see docs/compatibility.md.
    void preservedFileThatTheArchiveBringsIsNotOverwrittenNorLost()
    {
        const LogCapture log;
        settleCopy("user's");
        QCOMPARE(readFile(settings()), "archive's");
        QCOMPARE(log.lines(), QStringList("Preserved copy stays : "_s + keptSettings()));
    }

    void settledCopyIsReplacedByTheFile()
    {
        settleCopy("user's first");
        secureWith("user's second");
        QCOMPARE(readFile(keptSettings()), "user's second");
        QVERIFY(QFile::remove(settings()));
        files().restorePreserved();
        QCOMPARE(readFile(settings()), "user's second");
        QCOMPARE(fileTree(m_folders.preserve), FileTree());
    }

    void copyOfUnfinishedWorkIsNotOverwritten()
    {
        // The first installation failed or ended suddenly after the archive's file was written.
        keep({"settings.ini"_s});
        secureWith("user's");
        const LogCapture log;
        secureWith("archive's");
        QCOMPARE(readFile(keptSettings()), "user's");
        QCOMPARE(log.lines(), QStringList());
    }

    void copyOfUnfinishedWorkIsNotTakenForASettledOne_data()
    {
        Rows<bool>().row("the settled copy stands", false).row("it is gone", true);
    }
    /// Like the previous test, but starts with a settled copy or just its mark.
    void copyOfUnfinishedWorkIsNotTakenForASettledOne()
    {
        const auto [isGone] = Rows<bool>::current();
        settleCopy("user's first");
        QVERIFY(!isGone || QFile::remove(keptSettings()));
        secureWith("user's second");
        secureWith("next archive's");
        QCOMPARE(readFile(keptSettings()), "user's second");
    }

    void copyThatCannotBeBroughtBackIsNotSettled()
    {
        // In the simulator, a file with the name of the folder prevents restoring the copy.
        const QString entry = "plugin/settings.ini"_s;
        keep({entry});
        put({{entry, "user's"}});
        files().secure();
        QVERIFY(QDir(simulator("plugin"_s)).removeRecursively());
        write(simulator("plugin"_s), "in the way");
        const LogCapture log;
        files().restorePreserved();
        QVERIFY(log.contains("Copy failed : %1 -> %2"_s.arg(kept(entry), simulator(entry))));
        QVERIFY(QFile::remove(simulator("plugin"_s)));
        write(simulator(entry), "archive's");
        files().secure();
        QCOMPARE(readFile(kept(entry)), "user's");
    }

    void settledCopyStaysWhileTheArchivesFileIsUnchanged()
    {
        // The installation ended suddenly at its very end and is repeated.
        settleCopy("user's");
        for (int attempt = 0; attempt < 2; ++attempt) {
            files().secure();
            QCOMPARE(readFile(keptSettings()), "user's");
            files().restorePreserved();
        }
        secureWith("user's second");
        QCOMPARE(readFile(keptSettings()), "user's second");
    }

    void failedCopyRemovesNewCopies()
    {
        keep({"a.txt"_s, "b.txt"_s, "c.txt"_s});
        backUp({"d.txt"_s, "e.txt"_s});
        for (const char *name : {"a.txt", "b.txt", "c.txt", "d.txt", "e.txt"})
            put({{QLatin1String(name), "user's"}});
        write(kept("a.txt"_s), "user's before");
        write(backup("d.txt"_s), "original before");
        QVERIFY(QDir().mkpath(backup("e.txt"_s)));
        QCOMPARE(files().secure(), simulator("e.txt"_s));
        QCOMPARE(filesUnder(m_folders.preserve), QStringList("a.txt"_s));
        QCOMPARE(filesUnder(m_folders.backup), QStringList("d.txt"_s));
        // secure() stops at the first failure.
        QVERIFY(QDir().mkpath(kept("b.txt"_s)));
        const LogCapture log;
        QCOMPARE(files().secure(), simulator("b.txt"_s));
        QCOMPARE(log.lines().size(), 1);
    }

    void failedCopyLeavesSettledOnesSettled()
    {
        settleCopy("user's first");
        put({{m_lights, "original"}});
        backUp({m_lights});
        write(settings(), "user's second");
        QVERIFY(QDir().mkpath(backup(m_lights)));
        QCOMPARE(files().secure(), simulator(m_lights));
        // No file was replaced, so the user continues to edit the file in the simulator.
        write(settings(), "user's third");
        QVERIFY(QDir().rmdir(backup(m_lights)));
        QCOMPARE(files().secure(), QString());
        QCOMPARE(readFile(keptSettings()), "user's third");
    }

    void halfAMarkIsNone()
    {
        settleCopy("user's");
        QFile mark(settledMarkOf(keptSettings()));
        QVERIFY(mark.exists() && mark.resize(mark.size() / 2));
        secureWith("archive's of another version");
        QCOMPARE(readFile(keptSettings()), "user's");
    }

    void settledCopyIsRestoredIfItsFileIsMissing()
    {
        settleCopy("user's");
        QVERIFY(QFile::remove(settings()));
        files().secure();
        files().restorePreserved();
        QCOMPARE(readFile(settings()), "user's");
        QCOMPARE(fileTree(m_folders.preserve), FileTree());
    }

    void noMarkIsLeftBehind()
    {
        settleCopy("user's");
        write(settings(), "user's");
        files().giveUpReturned();
        QCOMPARE(fileTree(m_folders.preserve), FileTree());
    }

    // Fixed, see docs/compatibility.md.
    void entryThatIsAFolderMakesOnlyItsParent()
    {
        const QString entry = "plugin/data"_s;
        put({{entry + "/file.txt"_s, "user's"}});
        keep({entry});
        backUp({entry});
        files().secure();
        QCOMPARE(fileTree(m_folders.preserve).keys(), QStringList("plugin/"_s));
        QCOMPARE(fileTree(m_folders.backup).keys(), QStringList("plugin/"_s));
        QVERIFY(QDir().mkpath(kept(entry)));
        QVERIFY(QDir(simulator("plugin"_s)).removeRecursively());
        files().restorePreserved();
        QCOMPARE(tree(), treeOf({{"plugin/"_s, ""}}));
    }

    void copyThatAlreadyStandsInItsPlaceIsGivenUp()
    {
        // A sudden end after the file was restored has left its copy.
        write(keptSettings(), "user's");
        write(settings(), "user's");
        keep({"settings.ini"_s});
        files().restorePreserved();
        QVERIFY(!QFile::exists(keptSettings()));
        QCOMPARE(readFile(settings()), "user's");
    }

    // Fixed, see docs/compatibility.md.
    void backupIsMadeOnceAndPutBackOnRemoval()
    {
        // The removal runs twice, as after an interruption before it was recorded.
        const QStringList replaced{m_lights, "sounds/alert.wav"_s};
        const Files originals{{m_lights, "original"}, {"sounds/alert.wav"_s, "original"}};
        put(originals);
        backUp(replaced);
        remove(replaced);
        for (const char *content : {"package's", "package's of another version"}) {
            files().secure();
            QCOMPARE(readFile(backup(m_lights)), "original");
            write(simulator(m_lights), content);
        }
        for (int attempt = 0; attempt < 2; ++attempt) {
            files().remove();
            QCOMPARE(tree(), treeOf(originals));
        }
        files().giveUpReturned();
        QCOMPARE(tree(), treeOf(originals));
        QVERIFY(!QFile::exists(backup(m_lights)));
    }

    void backupWithoutAMarkIsNeitherOverwrittenNorGivenUp()
    {
        write(backup(m_lights), "original");
        put({{m_lights, "package's"}});
        backUp({m_lights});
        files().secure();
        files().remove();
        QCOMPARE(readFile(simulator(m_lights)), "package's");
        QCOMPARE(readFile(backup(m_lights)), "original");
    }

    void copiesAreGivenUpOnlyWhereTheirContentStands()
    {
        const QStringList paths{"here.txt"_s, "missing.txt"_s, "other.txt"_s};
        backUp(paths);
        keep(paths);
        for (const QString &path : paths) {
            write(backup(path), "original");
            write(kept(path), "original");
        }
        put({{paths.at(0), "original"}, {paths.at(2), "somebody's"}});
        files().giveUpReturned();
        const Files left{{paths.at(1), "original"}, {paths.at(2), "original"}};
        QCOMPARE(readFiles(m_folders.backup), left);
        QCOMPARE(readFiles(m_folders.preserve), left);
    }

    void onlyFailuresAreLogged()
    {
        // Without a removal rule, the backup cannot be restored: at the first installation the
        // original is in its place, and at each later one the package's file. Neither is an error.
        backUp({m_lights});
        const LogCapture log;
        for (const char *content : {"original", "package's"}) {
            write(simulator(m_lights), content);
            files().secure();
            files().remove();
            QCOMPARE(readFile(simulator(m_lights)), content);
            QCOMPARE(readFile(backup(m_lights)), "original");
        }
        // A link of the user in its place is not followed and is no error, wherever it leads.
        QVERIFY(QFile::remove(simulator(m_lights)));
        link("/nowhere/at/all"_s, simulator(m_lights));
        files().remove();
        QCOMPARE(log.lines(), QStringList());
        QVERIFY(QFile::remove(simulator(m_lights)));
        write(simulator(m_lights), "package's");
        // A folder in the place of the backup is an error.
        QVERIFY(QFile::remove(backup(m_lights)) && QDir().mkpath(backup(m_lights)));
        files().secure();
        QCOMPARE(log.lines(), QStringList("Copy failed : %1 -> %2"_s.arg(simulator(m_lights),
                                                                         backup(m_lights))));
    }

    void backupThroughALinkOutOfTheBackupFolderIsSkipped()
    {
        link(m_outside, m_folders.backup + u'a');
        put({{"a/file.txt"_s, "original"}});
        backUp({"a/file.txt"_s});
        QCOMPARE(files().secure(), simulator("a/file.txt"_s));
    }

    void pipesDoNotBlockTheInstallation()
    {
        keep({"settings.ini"_s});
        backUp({m_lights});
        putPipe(settings());
        putPipe(simulator(m_lights));
        const LogCapture log;
        // Pipes have no content to keep, so they do not prevent the installation.
        QVERIFY(files().secure().isEmpty());
        QVERIFY(log.contains("Skipping path : settings.ini"_s));
        QVERIFY(log.contains("Skipping path : "_s + m_lights));
        QVERIFY(filesUnder(m_folders.preserve).isEmpty() && filesUnder(m_folders.backup).isEmpty());

        for (const QString &path : {settings(), simulator(m_lights)}) {
            QVERIFY(QFile::remove(path));
            write(path, "user's");
        }
        QVERIFY(files().secure().isEmpty());
        putPipe(settings());
        putPipe(simulator(m_lights));
        files().restorePreserved();
        QCOMPARE(files().remove().notReturned.paths(), QStringList(backup(m_lights)));
        files().giveUpReturned();
        QCOMPARE(readFile(keptSettings()), "user's");
        QCOMPARE(readFile(backup(m_lights)), "user's");
    }

    void pipeInThePlaceOfACopyIsReplaced()
    {
        keep({"settings.ini"_s});
        QVERIFY(QDir().mkpath(m_folders.preserve));
        putPipe(keptSettings());
        write(settings(), "user's");
        QVERIFY(files().secure().isEmpty());
        QVERIFY(QFileInfo(keptSettings()).isFile());
        QCOMPARE(readFile(keptSettings()), "user's");
    }

    void extractFolder_data()
    {
        Rows<QString, QString>()
            .row("empty: the simulator", QString(), "@SIM@")
            .row("dot: the simulator", "./", "@SIM@")
            .row("folder", "Custom Scenery/", "@SIM@/Custom Scenery")
            .row("parent", "..", QString())
            .row("out by way of a child", "a/../../b", QString())
            .row("absolute", "/etc", QString());
    }
    void extractFolder()
    {
        auto [extract, folder] = Rows<QString, QString>::current();
        m_version->install->extract = extract;
        folder.replace("@SIM@"_s, QDir::cleanPath(m_folders.installation));
        QCOMPARE(files().extractFolder(), folder);
    }

private:
    PackageFiles files() const { return PackageFiles(m_folders, *m_version); }
    QString simulator(const QString &path) const { return m_folders.installation + path; }
    QString kept(const QString &path) const { return m_folders.preserve + path; }
    QString backup(const QString &path) const { return m_folders.backup + path; }
    QString settings() const { return simulator("settings.ini"_s); }
    QString keptSettings() const { return kept("settings.ini"_s); }

    void keep(const QStringList &entries) { m_version->install->preserve = entries; }
    void backUp(const QStringList &entries) { m_version->install->backup = entries; }
    void remove(const QStringList &entries) { m_version->uninstall->remove = entries; }

    static void write(const QString &path, const QByteArray &content)
    {
        QVERIFY(writeFile(path, content));
    }
    /// Writes these files in the simulator.
    void put(const Files &files) const { QVERIFY(writeFiles(m_folders.installation, files)); }
    static void putPipe(const QString &path)
    {
        QFile::remove(path);
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    }
    static void link(const QString &target, const QString &place)
    {
        QVERIFY(QDir().mkpath(QFileInfo(place).path()) && QFile::link(target, place));
    }
    /// The content of the simulator. treeOf() returns the expected content: X-Plane's executable
    /// and these files.
    FileTree tree() const { return fileTree(m_folders.installation); }
    FileTree treeOf(Files files) const
    {
        files.insert("X-Plane-x86_64"_s, m_program);
        return expectedTree(files);
    }
    /// Simulates a complete installation. It leaves a settled copy of the user's settings, because
    /// the archive contains settings, too.
    void settleCopy(const QByteArray &content)
    {
        keep({"settings.ini"_s});
        secureWith(content);
        write(settings(), "archive's");
        files().restorePreserved();
        QCOMPARE(readFile(keptSettings()), content);
    }
    /// Writes these settings and makes the copies, as at the beginning of an installation.
    void secureWith(const QByteArray &content)
    {
        write(settings(), content);
        files().secure();
    }

    const QString m_lights = "lights.txt"_s;
    std::unique_ptr<ScratchProfile> m_profile;
    QByteArray m_program; ///< the simulator's executable
    QString m_outside;
    QString m_disk;
    PackageFolders m_folders;
    PackageVersionPointer m_version;
};

KAVO_TEST_MAIN(PackageFilesTest)
#include "PackageFilesTest.moc"
