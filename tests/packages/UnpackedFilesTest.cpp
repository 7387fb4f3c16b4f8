#include "packages/installation/UnpackedFiles.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>

using namespace Kavo;
using namespace Kavo::Testing;
using Extractors::ArchiveEntry;
using Extractors::ArchiveListing;
using Kind = ArchiveEntry::Kind;

/// Undoing an unpacking removes the new files and folders and keeps all others.
class UnpackedFilesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile.reset(new ScratchProfile);
        QVERIFY(writeFiles(root(), {{"X-Plane-x86_64"_s, "x"}, {"plugins/other.xpl"_s, "other"}}));
    }

    void cleanup() { m_profile.reset(); }

    void newFilesAndFoldersAreRemoved()
    {
        const auto before = fileTree(root());
        const UnpackedFiles added(
            listing({"a/b/c"_s, "a/b/empty/"_s, "./a//d"_s, "plugins/new.xpl"_s, "top"_s, "late/"_s,
                     "late/x/y/z"_s}),
            root(), root());
        QVERIFY(writeFiles(root(), {{"a/b/c"_s, "x"},
                                    {"a/b/empty/"_s, ""},
                                    {"a/d"_s, "x"},
                                    {"plugins/new.xpl"_s, "x"},
                                    {"top"_s, "x"},
                                    {"late/x/y/z"_s, "x"}}));
        added.takeAway();
        QCOMPARE(fileTree(root()), before);
    }

    void existingEntriesStay()
    {
        QVERIFY(writeFile(root() + "a/mine"_s, "mine"));
        QVERIFY(QDir(root()).mkpath("a/my folder"_s));
        QVERIFY(QFile::link("nowhere"_s, root() + "a/my link"_s));
        const auto before = fileTree(root());
        const UnpackedFiles added(listing({"a/"_s, "a/mine"_s, "a/my folder/"_s, "a/my link"_s}),
                                  root(), root());
        added.takeAway();
        QCOMPARE(fileTree(root()), before);
    }

    void folderWithOtherFilesStays()
    {
        const UnpackedFiles added(listing({"a/b/c"_s}), root(), root());
        QVERIFY(writeFiles(root(), {{"a/b/c"_s, "x"}, {"a/log"_s, "y"}}));
        added.takeAway();
        QVERIFY(!QFile::exists(root() + "a/b"_s));
        QCOMPARE(readFile(root() + "a/log"_s), "y");
    }

    void newFoldersAboveTheTargetAreRemoved()
    {
        const auto before = fileTree(root());
        const QString target = root() + "Resources/plugins"_s;
        const UnpackedFiles added(listing({"a/b"_s}), target, root());
        QVERIFY(writeFile(target + "/a/b"_s, "x"));
        added.takeAway();
        QCOMPARE(fileTree(root()), before);
        // The folder is also removed if the archive is empty.
        const UnpackedFiles nothing(listing({}), target, root());
        QVERIFY(QDir().mkpath(target));
        nothing.takeAway();
        QCOMPARE(fileTree(root()), before);
        // The root folder itself is never removed, even if it is empty.
        const QString empty = m_profile->folder("empty"_s);
        UnpackedFiles(listing({"a"_s}), empty, empty).takeAway();
        QVERIFY(QDir(empty).exists());
    }

    void linksOfTheUserAreFollowedAndStay()
    {
        const QString disk = m_profile->folder("disk"_s);
        QVERIFY(writeFile(disk + "scenery/mine"_s, "mine"));
        QVERIFY(QFile::link(disk.chopped(1), root() + "Custom Scenery"_s));
        const auto before = fileTree(disk);
        const UnpackedFiles added(listing({"Custom Scenery/"_s, "Custom Scenery/scenery/new"_s,
                                           "Custom Scenery/new/a"_s}),
                                  root(), root());
        QVERIFY(writeFile(disk + "scenery/new"_s, "x") && writeFile(disk + "new/a"_s, "x"));
        added.takeAway();
        QCOMPARE(fileTree(disk), before);
        QVERIFY(QFileInfo(root() + "Custom Scenery"_s).isSymLink());
    }

    void entriesThatWereNotUnpackedAreIgnored()
    {
        const auto before = fileTree(root());
        const UnpackedFiles added(listing({QString(), "."_s, "a/b"_s}), root(), root());
        added.takeAway();
        QCOMPARE(fileTree(root()), before);
    }

private:
    QString root() const { return m_profile->folder("simulator"_s); }

    /// Paths that end in a slash are folders.
    static ArchiveListing listing(const QStringList &paths)
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

    QScopedPointer<ScratchProfile> m_profile;
};

KAVO_TEST_MAIN(UnpackedFilesTest)
#include "UnpackedFilesTest.moc"
