#include "downloads/BodyChecksum.h"

#include <QSet>
#include <QTest>

#include <random>

using Kavo::Managers::BodyChecksum;

namespace {

QByteArray randomBytes(int count)
{
    std::mt19937 random(20);
    QByteArray bytes(count, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random() & 0xffU);
    return bytes;
}

} // namespace

class BodyChecksumTest final : public QObject
{
    Q_OBJECT

private slots:
    void piecesMakeNoDifference()
    {
        const QByteArray bytes = randomBytes(1003);
        const QByteArray whole = BodyChecksum::of(bytes);
        for (int size = 1; size < 40; ++size) {
            BodyChecksum sum;
            for (int at = 0; at < bytes.size(); at += size)
                sum.add(bytes.constData() + at, qMin(size, bytes.size() - at));
            QCOMPARE(sum.result(), whole);
            QCOMPARE(sum.result(), whole);
        }
    }

    void everyChangedBitShows()
    {
        QByteArray bytes = randomBytes(103);
        QSet<QByteArray> sums{BodyChecksum::of(bytes)};
        for (int bit = 0; bit < bytes.size() * 8; ++bit) {
            const char before = bytes.at(bit / 8);
            bytes[bit / 8] = static_cast<char>(before ^ (1 << bit % 8));
            sums.insert(BodyChecksum::of(bytes));
            bytes[bit / 8] = before;
        }
        QCOMPARE(sums.size(), bytes.size() * 8 + 1);
    }

    void lengthShows()
    {
        QSet<QByteArray> sums;
        for (int length = 0; length < 100; ++length)
            sums.insert(BodyChecksum::of(QByteArray(length, '\0')));
        QCOMPARE(sums.size(), 100);
    }

    /// A disk may return one sector in place of another.
    void movedBytesShow()
    {
        const QByteArray bytes = randomBytes(1024);
        for (const int size : {1, 8, 64, 512})
            QVERIFY(BodyChecksum::of(bytes.mid(size) + bytes.left(size)) !=
                    BodyChecksum::of(bytes));
    }
};

QTEST_APPLESS_MAIN(BodyChecksumTest)
#include "BodyChecksumTest.moc"
