#include "tests/downloads/DownloadFixture.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>

using namespace Kavo::Testing;

/// The hash of a file that is computed while it is written. It stands for the file, so it may only
/// be there when all of the file has gone through it.
class DigestTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void init() override;

    void wholeFileHasADigest_data();
    void wholeFileHasADigest();
    void digestIsOnlyMadeWhenAskedFor();
    void resumedFileHasNone();
    void completeFileHasNone();
    void fileThatStartsAnewHasItsOwn();
    void cutFileHasNone();
    void fullDiskLeavesNone();

private:
    /// Transfers the file and returns the digest.
    QByteArray digest(bool isHashed = true) const;
    static QByteArray hashOf(const QByteArray &bytes)
    {
        return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    }

    static constexpr int Size = 3000000;
};

void DigestTest::init()
{
    DownloadFixture::init();
    serve(generated(Size));
}

QByteArray DigestTest::digest(bool isHashed) const
{
    const auto download = resumable();
    download->setHashed(isHashed);
    DownloadEvents events(manager(), download);
    return events.waitForFinished() ? download->getDigest() : QByteArray("no end");
}

void DigestTest::wholeFileHasADigest_data()
{
    Rows<int, bool, bool>()
        .row("plain", Size, false, false)
        .row("in chunks", Size, true, false)
        .row("compressed on the way", Size, false, true)
        .row("one byte", 1, false, false);
}

void DigestTest::wholeFileHasADigest()
{
    const auto [size, chunked, compressed] = Rows<int, bool, bool>::current();
    HttpResource &file = serve(generated(size));
    file.chunked = chunked;
    file.compressesUnasked = compressed;
    QCOMPARE(digest(), hashOf(generated(size)));
}

void DigestTest::digestIsOnlyMadeWhenAskedFor()
{
    QCOMPARE(digest(false), QByteArray());
    QVERIFY(content() == generated(Size));
}

void DigestTest::resumedFileHasNone()
{
    QVERIFY(put(generated(1000)));
    QCOMPARE(digest(), QByteArray());
    QVERIFY(content() == generated(Size));
}

void DigestTest::completeFileHasNone()
{
    QVERIFY(put(generated(Size)));
    QCOMPARE(digest(), QByteArray());
}

/// What is there is not what the server has, which shows only in its answer.
void DigestTest::fileThatStartsAnewHasItsOwn()
{
    QVERIFY(put(QByteArray(1000, 'x')));
    resource().ignoresRange = true;
    QCOMPARE(digest(), hashOf(generated(Size)));
    QVERIFY(content() == generated(Size));
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
