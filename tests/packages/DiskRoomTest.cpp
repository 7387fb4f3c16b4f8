#include "packages/installation/DiskRoom.h"
#include "tests/support/Literals.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QStorageInfo>

#include <limits>
#include <sched.h>
#include <sys/mount.h>

using namespace Kavo;
using namespace Kavo::Testing;
using Extractors::ArchiveEntry;
using Extractors::ArchiveListing;
using Kind = ArchiveEntry::Kind;

constexpr qint64 Size = 1024 * 1024;

/// Test functions that need a small disk are skipped if the user is not root.
class DiskRoomTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_mounts = ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    void tenthOfTheSizeIsReserved()
    {
        if (!m_mounts)
            QSKIP("Only a superuser can mount a small disk");
        const ScratchProfile profile;
        const QString folder = profile.folder("disk"_s).chopped(1);
        const QByteArray path = QFile::encodeName(folder);
        QCOMPARE(::mount("none", path.constData(), "tmpfs", 0, "size=1m"), 0);
        const auto unmount = qScopeGuard([&path] { ::umount2(path.constData(), MNT_DETACH); });
        const qint64 fits = Size * 10 / 11 - 1;
        QVERIFY(!findMissingRoom(listing({{"a/b"_s, fits}}), folder));
        QVERIFY(!findMissingRoom(listing({{"a"_s, fits / 2}, {"c/d/e"_s, fits / 2}}), folder));
        // The folder does not exist yet, so the disk is found by its parent folders.
        QVERIFY(!findMissingRoom(listing({{"a"_s, fits}}), folder + "/new/folder"_s));
        const auto missing = findMissingRoom(listing({{"a"_s, fits}, {"b/c"_s, 10}}), folder);
        QVERIFY(missing);
        QCOMPARE(missing->available, Size);
        QVERIFY(missing->needed > Size && missing->needed < Size + 100);
        QVERIFY(findMissingRoom(listing({{"a"_s, Size}}), folder + "/new/folder"_s));
        QVERIFY(!findMissingRoom(listing({}), folder));
    }

    void eachDiskIsCheckedSeparately()
    {
        if (!m_mounts)
            QSKIP("Only a superuser can mount a small disk");
        const ScratchProfile profile;
        const QString folder = profile.folder("simulator"_s).chopped(1);
        const QByteArray path = QFile::encodeName(profile.folder("disk"_s).chopped(1));
        QCOMPARE(::mount("none", path.constData(), "tmpfs", 0, "size=1m"), 0);
        const auto unmount = qScopeGuard([&path] { ::umount2(path.constData(), MNT_DETACH); });
        QVERIFY(QFile::link(QFile::decodeName(path), folder + "/Custom Scenery"_s));
        QVERIFY(!findMissingRoom(listing({{"a"_s, 10 * Size}}), folder));
        QVERIFY(findMissingRoom(listing({{"Custom Scenery/x/a"_s, 10 * Size}}), folder));
        QVERIFY(!findMissingRoom(
            listing({{"Custom Scenery/x/a"_s, Size / 2}, {"Custom Scenery 2/a"_s, 10 * Size}}),
            folder));
    }

    void sumOfEnormousSizesIsMissing()
    {
        const ScratchProfile profile;
        const qint64 enormous = std::numeric_limits<qint64>::max();
        const auto missing = findMissingRoom(listing({{"a"_s, enormous}, {"b"_s, enormous}}),
                                             profile.folder(QString()));
        QVERIFY(missing);
        QVERIFY(missing->needed > missing->available);
    }

    void foldersAndLinksNeedNothing()
    {
        const ScratchProfile profile;
        const qint64 enormous = std::numeric_limits<qint64>::max();
        const ArchiveListing listing{{{"a"_s, Kind::FOLDER, enormous, {}, false},
                                      {"b"_s, Kind::SYMBOLIC_LINK, enormous, "a"_s, false},
                                      {"c"_s, Kind::HARD_LINK, enormous, "a"_s, false}},
                                     false};
        QVERIFY(!findMissingRoom(listing, profile.folder(QString())));
    }

private:
    static ArchiveListing listing(const QMap<QString, qint64> &sizes)
    {
        ArchiveListing listing;
        for (auto size = sizes.cbegin(); size != sizes.cend(); ++size)
            listing.entries.append({size.key(), Kind::FILE, size.value(), {}, false});
        return listing;
    }

    bool m_mounts = false;
};

KAVO_TEST_MAIN(DiskRoomTest)
#include "DiskRoomTest.moc"
