#include "packages/installation/PackageFiles.h"

#include "packages/installation/SettledCopy.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <memory>
#include <sys/stat.h>

using namespace Kavo::Models;
using Kavo::Testing::filesUnder;
using Kavo::Testing::fileTree;
using Kavo::Testing::LogCapture;
using Kavo::Testing::ScratchProfile;

namespace {

using Tree = QMap<QString, QString>;

void write(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

} // namespace

class PackageFilesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void listedFilesAndFoldersAreRemoved();
    void entriesThatLeaveTheSimulatorAreSkipped_data();
    void entriesThatLeaveTheSimulatorAreSkipped();
    void linkOfTheUserOnTheWayIsFollowed_data();
    void linkOfTheUserOnTheWayIsFollowed();
    void linkBelowARemovalEntryIsNoWayOut();
    void linkBelowARemovalEntryMayLeadInside();
    void folderThatHoldsANeededOneIsSkipped_data();
    void folderThatHoldsANeededOneIsSkipped();
    void copiesInTheSimulatorAreNotRemoved();
    void linkedFolderLosesTheLinkOnly();
    void linkToNowhereIsRemoved();
    void linkInsideARemovedFolderIsNotFollowed();
    void loopOfLinksEnds();
    void pathThroughALoopOfLinksIsSkipped();
    void ownLinkOnTheWayToTheExtractFolderIsFollowed();
    void entryThatIsNotThereIsPassedOver();

    void preservedFileComesBackAndItsCopyGoes();
    void preservedFileThatTheArchiveBringsIsNotOverwrittenNorLost();
    void settledCopyGivesWayToTheFile();
    void copyOfUnfinishedWorkIsNotOverwritten();
    void copyOfUnfinishedWorkIsNotTakenForASettledOne();
    void copyThatCannotBeBroughtBackIsNotSettled();
    void settledCopyStaysWhileTheArchivesFileIsUnchanged();
    void failedCopyTakesNewCopiesAway();
    void failedCopyLeavesSettledOnesSettled();
    void halfAMarkIsNone();
    void settledCopyComesBackWhereNothingStands();
    void markOfACopyThatIsGoneCountsForNoOther();
    void noMarkIsLeftBehind();
    void preservedFolderMakesOnlyItsParent();
    void preserveEntriesThatLeaveTheSimulatorAreSkipped();
    void copyThatAlreadyStandsInItsPlaceIsGivenUp();

    void backupIsMadeOnceAndPutBackOnRemoval();
    void removalThatWasCutShortCanBeRepeated();
    void copiesAreGivenUpOnlyWhereTheirContentStands();
    void firstBackupIsNeverOverwritten();
    void onlyFailuresAreCalledSo();
    void backupIsKeptWhileItsPlaceIsTaken();
    void backupFolderMakesOnlyItsParent();
    void backupThroughALinkOutOfTheBackupFolderIsSkipped();

    void pipesHoldNobodyUp();
    void pipeInThePlaceOfACopyGivesWay();

    void extractFolder_data();
    void extractFolder();

private:
    PackageFiles files() const { return PackageFiles(m_folders, *m_version); }
    QString simulator(const QString &path) const { return m_folders.installation + path; }

    QString settings() const { return simulator(QStringLiteral("settings.ini")); }
    QString keptSettings() const { return m_folders.preserve + QStringLiteral("settings.ini"); }
    /// An installation to its end that leaves a copy of the settings, since the archive brings
    /// some.
    void settleCopy(const QByteArray &content);

    std::unique_ptr<ScratchProfile> m_profile;
    PackageFolders m_folders;
    PackageVersionPointer m_version;
};

void PackageFilesTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_folders = {m_profile->simulatorFolder(), m_profile->preserveFolder(),
                 m_profile->backupFolder()};
    m_version = PackageVersionPointer::create();
}

void PackageFilesTest::cleanup()
{
    m_profile.reset();
}

void PackageFilesTest::settleCopy(const QByteArray &content)
{
    m_version->install->preserve = QStringList{QStringLiteral("settings.ini")};
    write(settings(), content);
    files().secure();
    write(settings(), "archive's");
    files().restorePreserved();
    QCOMPARE(read(keptSettings()), content);
}

void PackageFilesTest::listedFilesAndFoldersAreRemoved()
{
    write(simulator(QStringLiteral("a/own.txt")), "own");
    write(simulator(QStringLiteral("a/other.txt")), "other");
    write(simulator(QStringLiteral("b/deep/.hidden")), "own");
    m_version->uninstall->remove = QStringList{QStringLiteral("a/own.txt"), QStringLiteral("b/")};
    const LogCapture log;
    files().remove();
    QVERIFY(!QFile::exists(simulator(QStringLiteral("a/own.txt"))));
    QVERIFY(!QFile::exists(simulator(QStringLiteral("b"))));
    QCOMPARE(read(simulator(QStringLiteral("a/other.txt"))), QByteArray("other"));
    QCOMPARE(log.lines(),
             QStringList{QStringLiteral("Removing directory : ") + simulator(QStringLiteral("b"))});
}

void PackageFilesTest::entriesThatLeaveTheSimulatorAreSkipped_data()
{
    QTest::addColumn<QString>("entry");
    QTest::newRow("empty: the whole simulator") << "";
    QTest::newRow("dot: the whole simulator") << ".";
    QTest::newRow("parent") << "../outside";
    QTest::newRow("parent by way of a child") << "a/../../outside";
    QTest::newRow("two up") << "../..";
    QTest::newRow("absolute") << "@OUTSIDE@";
}

void PackageFilesTest::entriesThatLeaveTheSimulatorAreSkipped()
{
    QFETCH(QString, entry);
    const QString outside = m_profile->folder(QStringLiteral("outside"));
    write(outside + QStringLiteral("victim.txt"), "theirs");
    write(simulator(QStringLiteral("a/mine.txt")), "mine");
    entry.replace(QStringLiteral("@OUTSIDE@"), outside);

    m_version->uninstall->remove = QStringList{entry, QStringLiteral("a/mine.txt")};
    const LogCapture log;
    files().remove();
    QVERIFY(log.contains(QStringLiteral("Skipping path : ") + entry));
    QCOMPARE(read(outside + QStringLiteral("victim.txt")), QByteArray("theirs"));
    QVERIFY(QFileInfo::exists(m_folders.installation));
    // The rest of the list goes on.
    QVERIFY(!QFile::exists(simulator(QStringLiteral("a/mine.txt"))));
}

void PackageFilesTest::linkOfTheUserOnTheWayIsFollowed_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("file");
    QTest::newRow("first folder") << "link"
                                  << "link/Field"
                                  << "Field/own.txt";
    QTest::newRow("in the middle") << "Custom Scenery/link"
                                   << "Custom Scenery/link/deep/Field"
                                   << "deep/Field/own.txt";
    QTest::newRow("a file") << "link"
                            << "link/Field/own.txt"
                            << "Field/own.txt";
}

void PackageFilesTest::linkOfTheUserOnTheWayIsFollowed()
{
    QFETCH(QString, link);
    QFETCH(QString, entry);
    QFETCH(QString, file);
    const QString disk = m_profile->folder(QStringLiteral("second disk"));
    write(disk + file, "own");
    write(disk + QStringLiteral("Other/other.txt"), "other");
    QVERIFY(QDir().mkpath(QFileInfo(simulator(link)).path()));
    QVERIFY(QFile::link(disk, simulator(link)));
    const QString path = link + QLatin1Char('/') + file;
    m_version->install->preserve = m_version->install->backup = QStringList{path};
    m_version->uninstall->remove = QStringList{entry};
    const LogCapture log;
    files().secure();
    QCOMPARE(read(m_folders.preserve + path), QByteArray("own"));
    QCOMPARE(read(m_folders.backup + path), QByteArray("own"));
    write(disk + file, "package's");
    files().remove();
    QCOMPARE(read(disk + file), QByteArray("own"));
    QCOMPARE(log.count(QStringLiteral("Skipping path : ")), 0);
    QVERIFY(QFileInfo(simulator(link)).isSymLink());
    QCOMPARE(read(disk + QStringLiteral("Other/other.txt")), QByteArray("other"));
}

void PackageFilesTest::linkBelowARemovalEntryIsNoWayOut()
{
    // The package's own folder stands behind a link of the user's, and has brought another one.
    const QString disk = m_profile->folder(QStringLiteral("second disk"));
    const QString outside = m_profile->folder(QStringLiteral("outside"));
    write(outside + QStringLiteral("victim.txt"), "theirs");
    QVERIFY(QDir().mkpath(disk + QStringLiteral("Field")));
    QVERIFY(QFile::link(disk, simulator(QStringLiteral("Scenery"))));
    QVERIFY(QFile::link(outside, disk + QStringLiteral("Field/door")));
    const QString victim = QStringLiteral("Scenery/Field/door/victim.txt");
    const QString added = QStringLiteral("Scenery/Field/door/added.txt");
    write(m_folders.backup + added, "from the package");
    m_version->install->preserve = m_version->install->backup = QStringList{victim, added};
    // The door is an entry itself, but one below another.
    m_version->uninstall->remove = QStringList{victim, added, QStringLiteral("Scenery/Field/door/"),
                                               QStringLiteral("Scenery/Field/")};
    const LogCapture log;
    files().secure();
    QVERIFY(!QFile::exists(m_folders.preserve + victim));
    QVERIFY(!QFile::exists(m_folders.backup + victim));
    QCOMPARE(log.lines().count(QStringLiteral("Skipping path : ") + victim), 2);
    files().remove();
    QVERIFY(!QFileInfo(disk + QStringLiteral("Field/door")).isSymLink());
    QCOMPARE(read(outside + QStringLiteral("victim.txt")), QByteArray("theirs"));
    QVERIFY(!QFile::exists(outside + QStringLiteral("added.txt")));
}

void PackageFilesTest::linkBelowARemovalEntryMayLeadInside()
{
    const QString disk = m_profile->folder(QStringLiteral("second disk"));
    write(disk + QStringLiteral("Field/real/settings.ini"), "user's");
    QVERIFY(QFile::link(disk, simulator(QStringLiteral("Scenery"))));
    QVERIFY(QFile::link(QStringLiteral("real"), disk + QStringLiteral("Field/short")));
    const QString settings = QStringLiteral("Scenery/Field/short/settings.ini");
    m_version->install->preserve = QStringList{settings};
    m_version->uninstall->remove = QStringList{QStringLiteral("Scenery/Field")};
    files().secure();
    QCOMPARE(read(m_folders.preserve + settings), QByteArray("user's"));
}

void PackageFilesTest::folderThatHoldsANeededOneIsSkipped_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("the simulator") << 0;
    QTest::newRow("the kept files") << 1;
    QTest::newRow("the backups") << 2;
}

void PackageFilesTest::folderThatHoldsANeededOneIsSkipped()
{
    QFETCH(int, number);
    const QStringList folders{m_folders.installation, m_folders.preserve, m_folders.backup};
    // A link to the folder above makes an entry of the folder, and one more of the folder above.
    const QDir needed(QDir::cleanPath(folders.at(number)));
    const QFileInfo above(QFileInfo(needed.path()).path());
    QVERIFY(needed.mkpath(QStringLiteral(".")));
    QVERIFY(QFile::link(above.filePath(), simulator(QStringLiteral("up"))));
    QVERIFY(QFile::link(above.path(), simulator(QStringLiteral("upper"))));
    const QStringList entries{QStringLiteral("up/") + needed.dirName(),
                              QStringLiteral("upper/") + above.fileName()};
    m_version->uninstall->remove = entries;
    const LogCapture log;
    files().remove();
    QVERIFY(needed.exists());
    for (const QString &entry : entries)
        QVERIFY(log.contains(QStringLiteral("Skipping path : ") + entry));
    // The links themselves may go.
    m_version->uninstall->remove = QStringList{QStringLiteral("up"), QStringLiteral("upper")};
    files().remove();
    QVERIFY(needed.exists());
    QVERIFY(!QFileInfo(simulator(QStringLiteral("up"))).isSymLink());
    QVERIFY(!QFileInfo(simulator(QStringLiteral("upper"))).isSymLink());
}

void PackageFilesTest::copiesInTheSimulatorAreNotRemoved()
{
    m_folders.preserve = simulator(QStringLiteral("Output/kept/"));
    write(simulator(QStringLiteral("Output/kept/plugin/settings.ini")), "user's");
    write(simulator(QStringLiteral("Output/other/own.txt")), "package's");
    m_version->uninstall->remove =
        QStringList{QStringLiteral("Output/kept/plugin"), QStringLiteral("Output/other")};
    const LogCapture log;
    files().remove();
    QVERIFY(log.contains(QStringLiteral("Skipping path : Output/kept/plugin")));
    QCOMPARE(read(simulator(QStringLiteral("Output/kept/plugin/settings.ini"))),
             QByteArray("user's"));
    QVERIFY(!QFile::exists(simulator(QStringLiteral("Output/other"))));
}

void PackageFilesTest::linkedFolderLosesTheLinkOnly()
{
    const QString outside = m_profile->folder(QStringLiteral("outside"));
    write(outside + QStringLiteral("victim.txt"), "theirs");
    QVERIFY(QFile::link(outside, simulator(QStringLiteral("link"))));
    m_version->uninstall->remove = QStringList{QStringLiteral("link/")};
    files().remove();
    QVERIFY(!QFileInfo(simulator(QStringLiteral("link"))).isSymLink());
    QCOMPARE(read(outside + QStringLiteral("victim.txt")), QByteArray("theirs"));
}

void PackageFilesTest::linkToNowhereIsRemoved()
{
    QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), simulator(QStringLiteral("link"))));
    m_version->uninstall->remove = QStringList{QStringLiteral("link")};
    files().remove();
    QVERIFY(!QFileInfo(simulator(QStringLiteral("link"))).isSymLink());
}

void PackageFilesTest::linkInsideARemovedFolderIsNotFollowed()
{
    const QString outside = m_profile->folder(QStringLiteral("outside"));
    write(outside + QStringLiteral("victim.txt"), "theirs");
    write(simulator(QStringLiteral("a/own.txt")), "own");
    QVERIFY(QFile::link(outside, simulator(QStringLiteral("a/link"))));
    m_version->uninstall->remove = QStringList{QStringLiteral("a")};
    files().remove();
    QVERIFY(!QFile::exists(simulator(QStringLiteral("a"))));
    QCOMPARE(read(outside + QStringLiteral("victim.txt")), QByteArray("theirs"));
}

void PackageFilesTest::loopOfLinksEnds()
{
    write(simulator(QStringLiteral("a/own.txt")), "own");
    QVERIFY(QFile::link(QStringLiteral(".."), simulator(QStringLiteral("a/loop"))));
    m_version->uninstall->remove = QStringList{QStringLiteral("a")};
    files().remove();
    QVERIFY(!QFile::exists(simulator(QStringLiteral("a"))));
    QVERIFY(QFileInfo::exists(m_folders.installation));
}

void PackageFilesTest::pathThroughALoopOfLinksIsSkipped()
{
    QVERIFY(QFile::link(QStringLiteral("loop"), simulator(QStringLiteral("loop"))));
    QVERIFY(QFile::link(QStringLiteral("pong"), simulator(QStringLiteral("ping"))));
    QVERIFY(QFile::link(QStringLiteral("ping"), simulator(QStringLiteral("pong"))));
    const QStringList entries{QStringLiteral("loop/file"), QStringLiteral("ping/a/b")};
    m_version->install->preserve = m_version->install->backup = entries;
    m_version->uninstall->remove = entries;
    for (const QString &entry : entries)
        write(m_folders.preserve + entry, "user's");
    const LogCapture log;
    files().secure();
    files().remove();
    files().restorePreserved();
    for (const QString &entry : entries) {
        QVERIFY(log.contains(QStringLiteral("Skipping path : ") + entry));
        QCOMPARE(read(m_folders.preserve + entry), QByteArray("user's"));
    }
}

void PackageFilesTest::ownLinkOnTheWayToTheExtractFolderIsFollowed()
{
    const QString disk = m_profile->folder(QStringLiteral("second disk"));
    write(disk + QStringLiteral("Field/own.txt"), "own");
    write(disk + QStringLiteral("Other/other.txt"), "other");
    QVERIFY(QFile::link(disk, simulator(QStringLiteral("Custom Scenery"))));
    m_version->install->extract = QStringLiteral("Custom Scenery");
    m_version->uninstall->remove = QStringList{QStringLiteral("Custom Scenery/Field")};
    files().remove();
    QVERIFY(!QFile::exists(disk + QStringLiteral("Field")));
    QCOMPARE(read(disk + QStringLiteral("Other/other.txt")), QByteArray("other"));
}

void PackageFilesTest::entryThatIsNotThereIsPassedOver()
{
    m_version->uninstall->remove = QStringList{QStringLiteral("missing/file")};
    const LogCapture log;
    files().remove();
    QVERIFY(log.lines().isEmpty());
}

void PackageFilesTest::preservedFileComesBackAndItsCopyGoes()
{
    const QString path = simulator(QStringLiteral("plugin/settings.ini"));
    const QString parked = m_folders.preserve + QStringLiteral("plugin/settings.ini");
    write(path, "user's");
    m_version->install->preserve = QStringList{QStringLiteral("plugin/settings.ini")};
    files().secure();
    QCOMPARE(read(parked), QByteArray("user's"));
    QVERIFY(QDir(simulator(QStringLiteral("plugin"))).removeRecursively());
    files().restorePreserved();
    QCOMPARE(read(path), QByteArray("user's"));
    QVERIFY(!QFile::exists(parked));
}

// Fixed, see docs/compatibility.md.
void PackageFilesTest::preservedFileThatTheArchiveBringsIsNotOverwrittenNorLost()
{
    const QString path = simulator(QStringLiteral("settings.ini"));
    const QString parked = m_folders.preserve + QStringLiteral("settings.ini");
    write(path, "user's");
    m_version->install->preserve = QStringList{QStringLiteral("settings.ini")};
    files().secure();
    write(path, "archive's");
    const LogCapture log;
    files().restorePreserved();
    QCOMPARE(read(path), QByteArray("archive's"));
    QCOMPARE(read(parked), QByteArray("user's"));
    QCOMPARE(log.lines(), QStringList{QStringLiteral("Preserved copy stays : ") + parked});
}

void PackageFilesTest::settledCopyGivesWayToTheFile()
{
    settleCopy("user's first");
    write(settings(), "user's second");
    files().secure();
    QCOMPARE(read(keptSettings()), QByteArray("user's second"));
    QVERIFY(QFile::remove(settings()));
    files().restorePreserved();
    QCOMPARE(read(settings()), QByteArray("user's second"));
    QCOMPARE(fileTree(m_folders.preserve), Tree());
}

void PackageFilesTest::copyOfUnfinishedWorkIsNotOverwritten()
{
    // The first installation has ended suddenly, or failed, when the archive's file stood there.
    m_version->install->preserve = QStringList{QStringLiteral("settings.ini")};
    write(settings(), "user's");
    files().secure();
    write(settings(), "archive's");
    const LogCapture log;
    files().secure();
    QCOMPARE(read(keptSettings()), QByteArray("user's"));
    QCOMPARE(log.lines(), QStringList());
}

void PackageFilesTest::copyOfUnfinishedWorkIsNotTakenForASettledOne()
{
    // As before, with a settled copy in the place of the one that unfinished work has left.
    settleCopy("user's first");
    write(settings(), "user's second");
    files().secure();
    write(settings(), "next archive's");
    files().secure();
    QCOMPARE(read(keptSettings()), QByteArray("user's second"));
}

void PackageFilesTest::copyThatCannotBeBroughtBackIsNotSettled()
{
    // A file stands where the folder of the copy would have to be made.
    const QString entry = QStringLiteral("plugin/settings.ini");
    m_version->install->preserve = QStringList{entry};
    write(simulator(entry), "user's");
    files().secure();
    QVERIFY(QDir(simulator(QStringLiteral("plugin"))).removeRecursively());
    write(simulator(QStringLiteral("plugin")), "in the way");
    const LogCapture log;
    files().restorePreserved();
    QVERIFY(log.contains(QStringLiteral("Copy failed : %1 -> %2")
                             .arg(m_folders.preserve + entry, simulator(entry))));
    QVERIFY(QFile::remove(simulator(QStringLiteral("plugin"))));
    write(simulator(entry), "archive's");
    files().secure();
    QCOMPARE(read(m_folders.preserve + entry), QByteArray("user's"));
}

void PackageFilesTest::settledCopyStaysWhileTheArchivesFileIsUnchanged()
{
    // As after a sudden end at the very end of an installation that is then repeated.
    settleCopy("user's");
    for (int attempt = 0; attempt < 2; ++attempt) {
        files().secure();
        QCOMPARE(read(keptSettings()), QByteArray("user's"));
        files().restorePreserved();
    }
    write(settings(), "user's second");
    files().secure();
    QCOMPARE(read(keptSettings()), QByteArray("user's second"));
}

void PackageFilesTest::failedCopyTakesNewCopiesAway()
{
    const QStringList entries{QStringLiteral("a.txt"), QStringLiteral("b.txt"),
                              QStringLiteral("c.txt")};
    m_version->install->preserve = entries;
    m_version->install->backup = QStringList{QStringLiteral("d.txt"), QStringLiteral("e.txt")};
    for (const QString &entry : entries + m_version->install->backup)
        write(simulator(entry), "user's");
    write(m_folders.preserve + QStringLiteral("a.txt"), "user's before");
    write(m_folders.backup + QStringLiteral("d.txt"), "original before");
    QVERIFY(QDir().mkpath(m_folders.backup + QStringLiteral("e.txt")));
    QCOMPARE(files().secure(), simulator(QStringLiteral("e.txt")));
    QCOMPARE(filesUnder(m_folders.preserve), QStringList{QStringLiteral("a.txt")});
    QCOMPARE(filesUnder(m_folders.backup), QStringList{QStringLiteral("d.txt")});
    // The first failure ends it.
    QVERIFY(QDir().mkpath(m_folders.preserve + QStringLiteral("b.txt")));
    const LogCapture log;
    QCOMPARE(files().secure(), simulator(QStringLiteral("b.txt")));
    QCOMPARE(log.lines().size(), 1);
}

void PackageFilesTest::failedCopyLeavesSettledOnesSettled()
{
    settleCopy("user's first");
    write(settings(), "user's second");
    write(simulator(QStringLiteral("lights.txt")), "original");
    m_version->install->backup = QStringList{QStringLiteral("lights.txt")};
    const QString inTheWay = m_folders.backup + QStringLiteral("lights.txt");
    QVERIFY(QDir().mkpath(inTheWay));
    QCOMPARE(files().secure(), simulator(QStringLiteral("lights.txt")));
    // Nothing has been touched, so the user goes on with the file in the simulator.
    write(settings(), "user's third");
    QVERIFY(QDir().rmdir(inTheWay));
    QCOMPARE(files().secure(), QString());
    QCOMPARE(read(keptSettings()), QByteArray("user's third"));
}

void PackageFilesTest::halfAMarkIsNone()
{
    settleCopy("user's");
    QFile mark(settledMarkOf(keptSettings()));
    QVERIFY(mark.exists() && mark.resize(mark.size() / 2));
    write(settings(), "archive's of another version");
    files().secure();
    QCOMPARE(read(keptSettings()), QByteArray("user's"));
}

void PackageFilesTest::settledCopyComesBackWhereNothingStands()
{
    settleCopy("user's");
    QVERIFY(QFile::remove(settings()));
    files().secure();
    files().restorePreserved();
    QCOMPARE(read(settings()), QByteArray("user's"));
    QCOMPARE(fileTree(m_folders.preserve), Tree());
}

void PackageFilesTest::markOfACopyThatIsGoneCountsForNoOther()
{
    settleCopy("user's first");
    QVERIFY(QFile::remove(keptSettings()));
    write(settings(), "user's second");
    files().secure();
    write(settings(), "next archive's");
    files().secure();
    QCOMPARE(read(keptSettings()), QByteArray("user's second"));
}

void PackageFilesTest::noMarkIsLeftBehind()
{
    settleCopy("user's");
    write(settings(), "user's");
    files().giveUpReturned();
    QCOMPARE(fileTree(m_folders.preserve), Tree());
}

// Fixed, see docs/compatibility.md.
void PackageFilesTest::preservedFolderMakesOnlyItsParent()
{
    write(simulator(QStringLiteral("plugin/data/file.txt")), "user's");
    m_version->install->preserve = QStringList{QStringLiteral("plugin/data")};
    files().secure();
    QVERIFY(QFileInfo(m_folders.preserve + QStringLiteral("plugin")).isDir());
    QVERIFY(!QFile::exists(m_folders.preserve + QStringLiteral("plugin/data")));

    QVERIFY(QDir().mkpath(m_folders.preserve + QStringLiteral("plugin/data")));
    QVERIFY(QDir(simulator(QStringLiteral("plugin"))).removeRecursively());
    files().restorePreserved();
    QVERIFY(QFileInfo(simulator(QStringLiteral("plugin"))).isDir());
    QVERIFY(!QFile::exists(simulator(QStringLiteral("plugin/data"))));
}

void PackageFilesTest::preserveEntriesThatLeaveTheSimulatorAreSkipped()
{
    const QString outside = m_profile->folder(QStringLiteral("outside"));
    write(outside + QStringLiteral("secret"), "theirs");
    QVERIFY(QDir().mkpath(simulator(QStringLiteral("own"))));
    QVERIFY(QFile::link(outside, simulator(QStringLiteral("own/link"))));
    const QStringList entries{QString(), QStringLiteral("../outside/secret"),
                              outside + QStringLiteral("secret"),
                              QStringLiteral("own/link/secret")};
    m_version->install->preserve = entries;
    m_version->uninstall->remove = QStringList{QStringLiteral("own")};
    const LogCapture log;
    files().secure();
    for (const QString &entry : entries)
        QVERIFY(log.contains(QStringLiteral("Skipping path : ") + entry));
    QVERIFY(!QFile::exists(m_folders.preserve + QStringLiteral("own")));
}

void PackageFilesTest::copyThatAlreadyStandsInItsPlaceIsGivenUp()
{
    // As after a sudden end between the copy and the removal of its source.
    const QString parked = m_folders.preserve + QStringLiteral("settings.ini");
    write(parked, "user's");
    write(simulator(QStringLiteral("settings.ini")), "user's");
    m_version->install->preserve = QStringList{QStringLiteral("settings.ini")};
    files().restorePreserved();
    QVERIFY(!QFile::exists(parked));
    QCOMPARE(read(simulator(QStringLiteral("settings.ini"))), QByteArray("user's"));
}

void PackageFilesTest::backupIsMadeOnceAndPutBackOnRemoval()
{
    const QString path = simulator(QStringLiteral("lights.txt"));
    const QString backup = m_folders.backup + QStringLiteral("lights.txt");
    write(path, "original");
    m_version->install->backup = QStringList{QStringLiteral("lights.txt")};
    m_version->uninstall->remove = QStringList{QStringLiteral("lights.txt")};
    files().secure();
    QCOMPARE(read(backup), QByteArray("original"));
    write(path, "package's");
    files().remove();
    QCOMPARE(read(path), QByteArray("original"));
    files().giveUpReturned();
    QCOMPARE(read(path), QByteArray("original"));
    QVERIFY(!QFile::exists(backup));
}

void PackageFilesTest::removalThatWasCutShortCanBeRepeated()
{
    // The first one has put both originals back, and nobody has noted down that it was done.
    const QStringList replaced{QStringLiteral("lights.txt"), QStringLiteral("sounds/alert.wav")};
    m_version->install->backup = replaced;
    m_version->uninstall->remove = replaced;
    for (const QString &path : replaced)
        write(simulator(path), "original");
    files().secure();
    files().remove();
    files().remove();
    for (const QString &path : replaced)
        QCOMPARE(read(simulator(path)), QByteArray("original"));
}

void PackageFilesTest::copiesAreGivenUpOnlyWhereTheirContentStands()
{
    const QStringList paths{QStringLiteral("here.txt"), QStringLiteral("other.txt"),
                            QStringLiteral("missing.txt")};
    m_version->install->backup = m_version->install->preserve = paths;
    for (const QString &path : paths) {
        write(m_folders.backup + path, "original");
        write(m_folders.preserve + path, "original");
    }
    write(simulator(paths.at(0)), "original");
    write(simulator(paths.at(1)), "somebody's");
    files().giveUpReturned();
    for (const QString &folder : {m_folders.backup, m_folders.preserve}) {
        QVERIFY(!QFile::exists(folder + paths.at(0)));
        QCOMPARE(read(folder + paths.at(1)), QByteArray("original"));
        QCOMPARE(read(folder + paths.at(2)), QByteArray("original"));
    }
}

// Fixed, see docs/compatibility.md.
void PackageFilesTest::firstBackupIsNeverOverwritten()
{
    const QString backup = m_folders.backup + QStringLiteral("lights.txt");
    write(backup, "original");
    write(simulator(QStringLiteral("lights.txt")), "package's");
    m_version->install->backup = QStringList{QStringLiteral("lights.txt")};
    files().secure();
    QCOMPARE(read(backup), QByteArray("original"));
}

void PackageFilesTest::onlyFailuresAreCalledSo()
{
    // Without a removal rule the original stands where its backup would return, at the first
    // installation, and the package's file at every later one.
    m_version->install->backup = QStringList{QStringLiteral("lights.txt")};
    write(simulator(QStringLiteral("lights.txt")), "original");
    const LogCapture log;
    files().secure();
    files().remove();
    write(simulator(QStringLiteral("lights.txt")), "package's");
    files().secure();
    files().remove();
    QCOMPARE(log.lines(), QStringList());
    // Nor is a link of the user's in its place, wherever it leads.
    QVERIFY(QFile::remove(simulator(QStringLiteral("lights.txt"))));
    QVERIFY(
        QFile::link(QStringLiteral("/nowhere/at/all"), simulator(QStringLiteral("lights.txt"))));
    files().remove();
    QCOMPARE(log.lines(), QStringList());
    QVERIFY(QFile::remove(simulator(QStringLiteral("lights.txt"))));
    write(simulator(QStringLiteral("lights.txt")), "package's");
    // A folder in the place of the backup is a failure.
    const QString backup = m_folders.backup + QStringLiteral("lights.txt");
    QVERIFY(QFile::remove(backup) && QDir().mkpath(backup));
    files().secure();
    QCOMPARE(log.lines(), QStringList{QStringLiteral("Copy failed : %1 -> %2")
                                          .arg(simulator(QStringLiteral("lights.txt")), backup)});
}

void PackageFilesTest::backupIsKeptWhileItsPlaceIsTaken()
{
    const QString backup = m_folders.backup + QStringLiteral("lights.txt");
    write(backup, "original");
    write(simulator(QStringLiteral("lights.txt")), "package's");
    m_version->install->backup = QStringList{QStringLiteral("lights.txt")};
    files().remove();
    QCOMPARE(read(simulator(QStringLiteral("lights.txt"))), QByteArray("package's"));
    QCOMPARE(read(backup), QByteArray("original"));
}

// Fixed, see docs/compatibility.md.
void PackageFilesTest::backupFolderMakesOnlyItsParent()
{
    write(simulator(QStringLiteral("a/data/file.txt")), "original");
    m_version->install->backup = QStringList{QStringLiteral("a/data")};
    files().secure();
    QVERIFY(QFileInfo(m_folders.backup + QStringLiteral("a")).isDir());
    QVERIFY(!QFile::exists(m_folders.backup + QStringLiteral("a/data")));
}

void PackageFilesTest::backupThroughALinkOutOfTheBackupFolderIsSkipped()
{
    const QString outside = m_profile->folder(QStringLiteral("outside"));
    QVERIFY(QDir().mkpath(m_folders.backup));
    QVERIFY(QFile::link(outside, m_folders.backup + QStringLiteral("a")));
    write(simulator(QStringLiteral("a/file.txt")), "original");
    m_version->install->backup = QStringList{QStringLiteral("a/file.txt")};
    QCOMPARE(files().secure(), simulator(QStringLiteral("a/file.txt")));
    QVERIFY(!QFile::exists(outside + QStringLiteral("file.txt")));
}

void PackageFilesTest::pipesHoldNobodyUp()
{
    const QString lights = QStringLiteral("lights.png");
    m_version->install->preserve = QStringList{QStringLiteral("settings.ini")};
    m_version->install->backup = QStringList{lights};
    for (const QString &path : {settings(), simulator(lights)})
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    const LogCapture log;
    // There is nothing in them to keep, and no reason not to install.
    QVERIFY(files().secure().isEmpty());
    QVERIFY(log.contains(QStringLiteral("Skipping path : settings.ini")));
    QVERIFY(log.contains(QStringLiteral("Skipping path : lights.png")));
    QVERIFY(filesUnder(m_folders.preserve).isEmpty());
    QVERIFY(filesUnder(m_folders.backup).isEmpty());

    for (const QString &path : {settings(), simulator(lights)}) {
        QVERIFY(QFile::remove(path));
        write(path, "user's");
    }
    QVERIFY(files().secure().isEmpty());
    for (const QString &path : {settings(), simulator(lights)}) {
        QVERIFY(QFile::remove(path));
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    }
    files().restorePreserved();
    QCOMPARE(files().remove().notReturned.paths(), QStringList{m_folders.backup + lights});
    files().giveUpReturned();
    QCOMPARE(read(keptSettings()), QByteArray("user's"));
    QCOMPARE(read(m_folders.backup + lights), QByteArray("user's"));
}

void PackageFilesTest::pipeInThePlaceOfACopyGivesWay()
{
    m_version->install->preserve = QStringList{QStringLiteral("settings.ini")};
    QVERIFY(QDir().mkpath(m_folders.preserve));
    QCOMPARE(::mkfifo(QFile::encodeName(keptSettings()).constData(), 0600), 0);
    write(settings(), "user's");
    QVERIFY(files().secure().isEmpty());
    QVERIFY(QFileInfo(keptSettings()).isFile());
    QCOMPARE(read(keptSettings()), QByteArray("user's"));
}

void PackageFilesTest::extractFolder_data()
{
    QTest::addColumn<QString>("extract");
    QTest::addColumn<QString>("folder");
    QTest::newRow("empty: the simulator") << ""
                                          << "@SIM@";
    QTest::newRow("dot: the simulator") << "./"
                                        << "@SIM@";
    QTest::newRow("folder") << "Custom Scenery/"
                            << "@SIM@/Custom Scenery";
    QTest::newRow("parent") << ".."
                            << "";
    QTest::newRow("out by way of a child") << "a/../../b"
                                           << "";
    QTest::newRow("absolute") << "/etc"
                              << "";
}

void PackageFilesTest::extractFolder()
{
    QFETCH(QString, extract);
    QFETCH(QString, folder);
    m_version->install->extract = extract;
    folder.replace(QStringLiteral("@SIM@"), QDir::cleanPath(m_folders.installation));
    QCOMPARE(files().extractFolder(), folder);
}

KAVO_TEST_MAIN(PackageFilesTest)
#include "PackageFilesTest.moc"
