#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// The hash of a file that is computed while it is written. It stands for the file, so it may only
/// be there when all of the file has gone through it.
class DigestTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void wholeFileHasADigest_data();
    void wholeFileHasADigest();
    void digestIsOnlyMadeWhenAskedFor();
    void resumedFileHasNone();
    void completeFileHasNone();
    void fileThatStartsAnewHasItsOwn();
    void cutFileHasNone();
    void fullDiskLeavesNone();

private:
    /// Transfers "/a.zip" and returns the digest.
    QByteArray digest(bool isHashed = true) const;
    HttpResource &resource() const { return m_setup->server().resource(QStringLiteral("/a.zip")); }
    static QByteArray body() { return HttpResource::generated(0, Size); }
    static QByteArray hashOf(const QByteArray &bytes)
    {
        return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    }

    static constexpr int Size = 3000000;
    QScopedPointer<DownloadSetup> m_setup;
};

void DigestTest::init()
{
    m_setup.reset(new DownloadSetup);
    resource().body = body();
}

void DigestTest::cleanup()
{
    m_setup.reset();
}

QByteArray DigestTest::digest(bool isHashed) const
{
    const auto download = DownloadSetup::resumable(m_setup->server().url(QStringLiteral("/a.zip")));
    download->setHashed(isHashed);
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    return events.waitForFinished() ? download->getDigest() : QByteArray("no end");
}

void DigestTest::wholeFileHasADigest_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::addColumn<bool>("compresses");
    QTest::addColumn<int>("size");
    QTest::newRow("plain") << false << false << Size;
    QTest::newRow("in chunks") << true << false << Size;
    QTest::newRow("compressed on the way") << false << true << Size;
    QTest::newRow("one byte") << false << false << 1;
}

void DigestTest::wholeFileHasADigest()
{
    QFETCH(bool, chunked);
    QFETCH(bool, compresses);
    QFETCH(int, size);
    resource().body = body().left(size);
    resource().chunked = chunked;
    resource().compressesUnasked = compresses;
    QCOMPARE(digest(), hashOf(body().left(size)));
}

void DigestTest::digestIsOnlyMadeWhenAskedFor()
{
    QCOMPARE(digest(false), QByteArray());
}

void DigestTest::resumedFileHasNone()
{
    QVERIFY(m_setup->put(QStringLiteral("a.zip"), body().left(1000)));
    QCOMPARE(digest(), QByteArray());
    QVERIFY(m_setup->content(QStringLiteral("a.zip")) == body());
}

void DigestTest::completeFileHasNone()
{
    QVERIFY(m_setup->put(QStringLiteral("a.zip"), body()));
    QCOMPARE(digest(), QByteArray());
}

void DigestTest::fileThatStartsAnewHasItsOwn()
{
    // What is there is not what the server has, which shows only in its answer.
    QVERIFY(m_setup->put(QStringLiteral("a.zip"), QByteArray(1000, 'x')));
    resource().ignoresRange = true;
    QCOMPARE(digest(), hashOf(body()));
    QVERIFY(m_setup->content(QStringLiteral("a.zip")) == body());
}

void DigestTest::cutFileHasNone()
{
    resource().cutAfter = Size / 2;
    QCOMPARE(digest(), QByteArray());
}

void DigestTest::fullDiskLeavesNone()
{
    const FullDisk disk(Size / 2);
    QCOMPARE(digest(), QByteArray());
}

KAVO_TEST_MAIN(DigestTest)
#include "DigestTest.moc"
