#include "packages/installation/ArchiveClaim.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <type_traits>

using namespace Kavo::Models;
using namespace Kavo::Testing;

static_assert(!std::is_copy_constructible_v<ArchiveClaim> &&
              !std::is_copy_assignable_v<ArchiveClaim>);

class ArchiveClaimTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_archive = m_folder.filePath("archive.zip"_s);
        QVERIFY(writeFile(m_archive, "archive"));
        m_claims = QSharedPointer<ArchiveClaims>::create();
    }

    void onlyHolderDeletesTheArchive()
    {
        ArchiveClaim only = claim();
        QCOMPARE(only.archive(), m_archive);
        only.deleteArchive();
        QVERIFY(!stands());
        QVERIFY(only.archive().isEmpty());
    }

    void lastOfSeveralHoldersDeletesTheArchive()
    {
        ArchiveClaim first = claim();
        ArchiveClaim second = claim();
        first.deleteArchive();
        QVERIFY(stands());
        // This claim was already released, so the call has no effect.
        first.deleteArchive();
        QVERIFY(stands());
        second.deleteArchive();
        QVERIFY(!stands());
    }

    void claimThatEndsLeavesTheArchive()
    {
        ArchiveClaim first = claim();
        {
            const ArchiveClaim second = claim();
        }
        QVERIFY(stands());
        first.deleteArchive();
        QVERIFY(!stands());
    }

    void movedClaimCountsOnce()
    {
        ArchiveClaim first = claim();
        ArchiveClaim other = claim();
        ArchiveClaim moved = std::move(first);
        QCOMPARE(moved.archive(), m_archive);
        moved.deleteArchive();
        QVERIFY(stands());
        other.deleteArchive();
        QVERIFY(!stands());
    }

    void claimMovedOverAnotherReleasesIt()
    {
        ArchiveClaim first = claim();
        ArchiveClaim second = claim();
        first = ArchiveClaim();
        QVERIFY(first.archive().isEmpty());
        second.deleteArchive();
        QVERIFY(!stands());
    }

    void claimOnNothingDeletesNothing()
    {
        ArchiveClaim nothing;
        nothing.deleteArchive();
        QVERIFY(nothing.archive().isEmpty());
        QVERIFY(stands());
    }

private:
    ArchiveClaim claim() const { return ArchiveClaim(m_claims, m_archive); }
    bool stands() const { return QFile::exists(m_archive); }

    QTemporaryDir m_folder;
    QString m_archive;
    QSharedPointer<ArchiveClaims> m_claims;
};

QTEST_GUILESS_MAIN(ArchiveClaimTest)
#include "ArchiveClaimTest.moc"
