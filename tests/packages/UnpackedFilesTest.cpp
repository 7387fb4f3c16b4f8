#include "packages/installation/UnpackedFiles.h"
#include "tests/support/Archives.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>

using namespace Kavo;
using namespace Kavo::Testing;
using Extractors::ArchiveEntry;
using Extractors::ArchiveListing;
using Kind = ArchiveEntry::Kind;

/// What was unpacked goes again; what stood there stays.
class UnpackedFilesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void newFilesAndFoldersGo();
    void whatStoodThereStays();
    void folderInWhichSomethingElseStandsStays();
    void foldersAboveTheTargetGo();
    void linksOfTheUserAreFollowedAndStay();
    void whatWasNotUnpackedIsNoMatter();

private:
    QString root() const { return m_profile->folder(QStringLiteral("simulator")); }
    static ArchiveListing listing(const QStringList &paths);

    QScopedPointer<ScratchProfile> m_profile;
};

void UnpackedFilesTest::init()
{
    m_profile.reset(new ScratchProfile);
    QVERIFY(writeFiles(root(), {{QStringLiteral("X-Plane-x86_64"), "x"},
                                {QStringLiteral("plugins/other.xpl"), "other"}}));
}

void UnpackedFilesTest::cleanup()
{
    m_profile.reset();
}

/// Paths that end in a slash are folders.
ArchiveListing UnpackedFilesTest::listing(const QStringList &paths)
{
    ArchiveListing listing;
    for (const QString &path : paths) {
        const bool isFolder = path.endsWith(QLatin1Char('/'));
        listing.entries.append({isFolder ? path.chopped(1) : path,
                                isFolder ? Kind::FOLDER : Kind::FILE,
                                1,
                                {},
                                false});
    }
    return listing;
}

void UnpackedFilesTest::newFilesAndFoldersGo()
{
    const auto before = fileTree(root());
    const UnpackedFiles added(
        listing({QStringLiteral("a/b/c"), QStringLiteral("a/b/empty/"), QStringLiteral("./a//d"),
                 QStringLiteral("plugins/new.xpl"), QStringLiteral("top"), QStringLiteral("late/"),
                 QStringLiteral("late/x/y/z")}),
        root(), root());
    QVERIFY(writeFiles(root(), {{QStringLiteral("a/b/c"), "x"},
                                {QStringLiteral("a/b/empty/"), ""},
                                {QStringLiteral("a/d"), "x"},
                                {QStringLiteral("plugins/new.xpl"), "x"},
                                {QStringLiteral("top"), "x"},
                                {QStringLiteral("late/x/y/z"), "x"}}));
    added.takeAway();
    QCOMPARE(fileTree(root()), before);
}

void UnpackedFilesTest::whatStoodThereStays()
{
    QVERIFY(writeFile(root() + QStringLiteral("a/mine"), "mine"));
    QVERIFY(QDir(root()).mkpath(QStringLiteral("a/my folder")));
    QVERIFY(QFile::link(QStringLiteral("nowhere"), root() + QStringLiteral("a/my link")));
    const auto before = fileTree(root());
    const UnpackedFiles added(
        listing({QStringLiteral("a/"), QStringLiteral("a/mine"), QStringLiteral("a/my folder/"),
                 QStringLiteral("a/my link")}),
        root(), root());
    added.takeAway();
    QCOMPARE(fileTree(root()), before);
}

void UnpackedFilesTest::folderInWhichSomethingElseStandsStays()
{
    const UnpackedFiles added(listing({QStringLiteral("a/b/c")}), root(), root());
    QVERIFY(writeFiles(root(), {{QStringLiteral("a/b/c"), "x"}, {QStringLiteral("a/log"), "y"}}));
    added.takeAway();
    QVERIFY(!QFile::exists(root() + QStringLiteral("a/b")));
    QCOMPARE(readFile(root() + QStringLiteral("a/log")), QByteArray("y"));
}

void UnpackedFilesTest::foldersAboveTheTargetGo()
{
    const auto before = fileTree(root());
    const QString target = root() + QStringLiteral("Resources/plugins");
    const UnpackedFiles added(listing({QStringLiteral("a/b")}), target, root());
    QVERIFY(writeFile(target + QStringLiteral("/a/b"), "x"));
    added.takeAway();
    QCOMPARE(fileTree(root()), before);
    // Also when nothing was in the archive.
    const UnpackedFiles nothing(listing({}), target, root());
    QVERIFY(QDir().mkpath(target));
    nothing.takeAway();
    QCOMPARE(fileTree(root()), before);
    // The simulator's folder itself is not ours, whatever it holds.
    const QString empty = m_profile->folder(QStringLiteral("empty"));
    UnpackedFiles(listing({QStringLiteral("a")}), empty, empty).takeAway();
    QVERIFY(QDir(empty).exists());
}

void UnpackedFilesTest::linksOfTheUserAreFollowedAndStay()
{
    const QString disk = m_profile->folder(QStringLiteral("disk"));
    QVERIFY(writeFile(disk + QStringLiteral("scenery/mine"), "mine"));
    QVERIFY(QFile::link(disk.chopped(1), root() + QStringLiteral("Custom Scenery")));
    const auto before = fileTree(disk);
    const UnpackedFiles added(
        listing({QStringLiteral("Custom Scenery/"), QStringLiteral("Custom Scenery/scenery/new"),
                 QStringLiteral("Custom Scenery/new/a")}),
        root(), root());
    QVERIFY(writeFile(disk + QStringLiteral("scenery/new"), "x"));
    QVERIFY(writeFile(disk + QStringLiteral("new/a"), "x"));
    added.takeAway();
    QCOMPARE(fileTree(disk), before);
    QVERIFY(QFileInfo(root() + QStringLiteral("Custom Scenery")).isSymLink());
}

void UnpackedFilesTest::whatWasNotUnpackedIsNoMatter()
{
    const auto before = fileTree(root());
    const UnpackedFiles added(listing({QString(), QStringLiteral("."), QStringLiteral("a/b")}),
                              root(), root());
    added.takeAway();
    QCOMPARE(fileTree(root()), before);
}

KAVO_TEST_MAIN(UnpackedFilesTest)
#include "UnpackedFilesTest.moc"
