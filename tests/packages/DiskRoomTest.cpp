#include "packages/installation/DiskRoom.h"
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

/// On small disks, which only a superuser can mount.
class DiskRoomTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void tenthIsToSpare();
    void eachDiskIsAskedForItsPart();
    void sumOfEnormousSizesIsMissing();
    void foldersAndLinksNeedNothing();

private:
    static ArchiveListing listing(const QMap<QString, qint64> &sizes);

    bool m_mounts = false;
};

constexpr qint64 Size = 1024 * 1024;

void DiskRoomTest::initTestCase()
{
    m_mounts = ::unshare(CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

ArchiveListing DiskRoomTest::listing(const QMap<QString, qint64> &sizes)
{
    ArchiveListing listing;
    for (auto size = sizes.cbegin(); size != sizes.cend(); ++size)
        listing.entries.append({size.key(), Kind::FILE, size.value(), {}, false});
    return listing;
}

void DiskRoomTest::tenthIsToSpare()
{
    if (!m_mounts)
        QSKIP("Only a superuser can mount a small disk");
    const ScratchProfile profile;
    const QString folder = profile.folder(QStringLiteral("disk")).chopped(1);
    const QByteArray path = QFile::encodeName(folder);
    QCOMPARE(::mount("none", path.constData(), "tmpfs", 0, "size=1m"), 0);
    const auto unmount = qScopeGuard([&path] { ::umount2(path.constData(), MNT_DETACH); });
    const qint64 fits = Size * 10 / 11 - 1;
    QVERIFY(!findMissingRoom(listing({{QStringLiteral("a/b"), fits}}), folder));
    QVERIFY(!findMissingRoom(
        listing({{QStringLiteral("a"), fits / 2}, {QStringLiteral("c/d/e"), fits / 2}}), folder));
    // The folder is yet to be made.
    QVERIFY(!findMissingRoom(listing({{QStringLiteral("a"), fits}}),
                             folder + QStringLiteral("/new/folder")));
    const auto missing = findMissingRoom(
        listing({{QStringLiteral("a"), fits}, {QStringLiteral("b/c"), 10}}), folder);
    QVERIFY(missing);
    QCOMPARE(missing->available, Size);
    QVERIFY(missing->needed > Size && missing->needed < Size + 100);
    QVERIFY(findMissingRoom(listing({{QStringLiteral("a"), Size}}),
                            folder + QStringLiteral("/new/folder")));
    QVERIFY(!findMissingRoom(listing({}), folder));
}

void DiskRoomTest::eachDiskIsAskedForItsPart()
{
    if (!m_mounts)
        QSKIP("Only a superuser can mount a small disk");
    const ScratchProfile profile;
    const QString folder = profile.folder(QStringLiteral("simulator")).chopped(1);
    const QByteArray path = QFile::encodeName(profile.folder(QStringLiteral("disk")).chopped(1));
    QCOMPARE(::mount("none", path.constData(), "tmpfs", 0, "size=1m"), 0);
    const auto unmount = qScopeGuard([&path] { ::umount2(path.constData(), MNT_DETACH); });
    QVERIFY(QFile::link(QFile::decodeName(path), folder + QStringLiteral("/Custom Scenery")));
    QVERIFY(!findMissingRoom(listing({{QStringLiteral("a"), 10 * Size}}), folder));
    QVERIFY(findMissingRoom(listing({{QStringLiteral("Custom Scenery/x/a"), 10 * Size}}), folder));
    QVERIFY(!findMissingRoom(listing({{QStringLiteral("Custom Scenery/x/a"), Size / 2},
                                      {QStringLiteral("Custom Scenery 2/a"), 10 * Size}}),
                             folder));
}

void DiskRoomTest::sumOfEnormousSizesIsMissing()
{
    const ScratchProfile profile;
    const qint64 enormous = std::numeric_limits<qint64>::max();
    const auto missing =
        findMissingRoom(listing({{QStringLiteral("a"), enormous}, {QStringLiteral("b"), enormous}}),
                        profile.folder(QString()));
    QVERIFY(missing);
    QVERIFY(missing->needed > missing->available);
}

void DiskRoomTest::foldersAndLinksNeedNothing()
{
    const ScratchProfile profile;
    const qint64 enormous = std::numeric_limits<qint64>::max();
    const ArchiveListing listing{
        {{QStringLiteral("a"), Kind::FOLDER, enormous, {}, false},
         {QStringLiteral("b"), Kind::SYMBOLIC_LINK, enormous, QStringLiteral("a"), false},
         {QStringLiteral("c"), Kind::HARD_LINK, enormous, QStringLiteral("a"), false}},
        false};
    QVERIFY(!findMissingRoom(listing, profile.folder(QString())));
}

KAVO_TEST_MAIN(DiskRoomTest)
#include "DiskRoomTest.moc"
