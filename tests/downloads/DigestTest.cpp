#include "tests/downloads/DownloadFixture.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>

using namespace Kavo::Testing;

/// Tests the hash that a transfer computes while it writes a file. There is one only if the
/// transfer has written the whole file.
class DigestTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void init() override
    {
        DownloadFixture::init();
        serve(generated(Size));
    }

    void wholeFileHasADigest_data()
    {
        Rows<int, bool, bool>()
            .row("plain", Size, false, false)
            .row("in chunks", Size, true, false)
            .row("compressed on the way", Size, false, true)
            .row("one byte", 1, false, false);
    }

    void wholeFileHasADigest()
    {
        const auto [size, chunked, compressed] = Rows<int, bool, bool>::current();
        HttpResource &file = serve(generated(size));
        file.chunked = chunked;
        file.compressesUnasked = compressed;
        QCOMPARE(digest(), hashOf(generated(size)));
    }

    void digestIsOnlyMadeWhenAskedFor()
    {
        QCOMPARE(digest(false), QByteArray());
        QVERIFY(content() == generated(Size));
    }

    void resumedFileHasNone()
    {
        QVERIFY(put(generated(1000)));
        QCOMPARE(digest(), QByteArray());
        QVERIFY(content() == generated(Size));
    }

    void completeFileHasNone()
    {
        QVERIFY(put(generated(Size)));
        QCOMPARE(digest(), QByteArray());
    }

    /// The part has the content of another file. The server ignores the range and sends the whole
    /// file, so the transfer starts over.
    void restartedFileHasADigest()
    {
        QVERIFY(put(QByteArray(1000, 'x')));
        resource().ignoresRange = true;
        QCOMPARE(digest(), hashOf(generated(Size)));
        QVERIFY(content() == generated(Size));
    }

    void cutFileHasNone()
    {
        resource().cutAfter = Size / 2;
        QCOMPARE(digest(), QByteArray());
    }

    void fullDiskLeavesNone()
    {
        const FullDisk disk(Size / 2);
        QCOMPARE(digest(), QByteArray());
    }

private:
    /// Transfers the file and returns its digest, or "no end" after a timeout.
    QByteArray digest(bool isHashed = true) const
    {
        const auto download = resumable();
        download->setHashed(isHashed);
        DownloadEvents events(manager(), download);
        return events.waitForFinished() ? download->getDigest() : QByteArray("no end");
    }
    static QByteArray hashOf(const QByteArray &bytes)
    {
        return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    }

    static constexpr int Size = 3000000;
};

KAVO_TEST_MAIN(DigestTest)
#include "DigestTest.moc"
