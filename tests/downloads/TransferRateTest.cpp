#include "downloads/TransferRate.h"

#include <QtTest>

#include <limits>

using Kavo::Managers::TransferRate;

namespace {

constexpr qint64 MB = 1000000;
constexpr qint64 Second = 1000;
constexpr qint64 Day = 24 * 60 * 60;

/// A file that grows and is measured at the end of each second. The time is simulated.
struct GrowingFile
{
    explicit GrowingFile(qint64 begin = 0, qint64 there = 0) : rate(begin), size(there), now(begin)
    {
        rate.add(size, now);
    }

    void grow(qint64 bytesASecond, int seconds)
    {
        for (int second = 0; second < seconds; ++second) {
            now += Second;
            size += bytesASecond;
            rate.add(size, now);
        }
    }
    /// Seconds until the file has this size, -1 if unknown.
    qint64 untilSize(qint64 total) const { return rate.secondsLeft(total, now).value_or(-1); }
    qint64 untilMore(qint64 bytes) const { return untilSize(size + bytes); }

    TransferRate rate;
    qint64 size;
    qint64 now;
};

} // namespace

/// Tests the estimate of the remaining time and the detection of silence.
class TransferRateTest final : public QObject
{
    Q_OBJECT

private slots:
    void steadyTransferTellsTheTime()
    {
        GrowingFile file(7 * Second);
        file.grow(2 * MB, 40);
        QCOMPARE(file.untilMore(360 * MB), qint64(180));
    }

    void estimateNeedsEnoughTime()
    {
        TransferRate rate(0);
        QVERIFY(!rate.secondsLeft(100 * MB, 0));
        rate.add(MB, 5 * Second);
        QVERIFY(!rate.secondsLeft(100 * MB, 6 * Second));
        rate.add(2 * MB, 6 * Second);
        QVERIFY(!rate.secondsLeft(100 * MB, 6 * Second));
        rate.add(3 * MB, 8 * Second);
        QVERIFY(rate.secondsLeft(100 * MB, 8 * Second));
    }

    void estimateNeedsATotal()
    {
        GrowingFile file;
        file.grow(MB, 10);
        for (const qint64 unknown : {qint64(0), qint64(-1)})
            QVERIFY(!file.rate.secondsLeft(unknown, file.now));
        const qint64 lessThanThereIs = file.size - 1;
        QVERIFY(!file.rate.secondsLeft(lessThanThereIs, file.now));
    }

    void existingBytesAreNoRate()
    {
        GrowingFile file(Second, 900 * MB);
        file.grow(MB, 20);
        QCOMPARE(file.untilSize(1000 * MB), qint64(80));
    }

    void restartedFileIsMeasuredAgain()
    {
        GrowingFile file;
        file.grow(50 * MB, 10);
        file.size = 0;
        file.grow(MB, 1);
        QCOMPARE(file.untilSize(1000 * MB), qint64(-1));
        file.grow(MB, 9);
        QCOMPARE(file.untilSize(110 * MB), qint64(100));
    }

    void shortBurstChangesLittle()
    {
        GrowingFile file;
        file.grow(MB, 60);
        file.grow(4 * MB, 1);
        const qint64 left = file.untilMore(100 * MB);
        QVERIFY2(left > 75 && left < 95, qPrintable(QString::number(left)));
    }

    void lastingChangeIsFollowed()
    {
        GrowingFile file;
        file.grow(MB, 300);
        file.grow(4 * MB, 60);
        const qint64 left = file.untilMore(400 * MB);
        QVERIFY2(left >= 100 && left < 110, qPrintable(QString::number(left)));
    }

    void pauseMakesItLonger()
    {
        GrowingFile file;
        file.grow(MB, 60);
        QCOMPARE(file.untilMore(100 * MB), qint64(100));
        file.now += 5 * Second;
        const qint64 later = file.untilMore(100 * MB);
        QVERIFY2(later > 120 && later < 200, qPrintable(QString::number(later)));
    }

    void silenceBeginsAfterTenSeconds()
    {
        TransferRate rate(5 * Second);
        QVERIFY(!rate.isSilent(15 * Second - 1));
        QVERIFY(rate.isSilent(15 * Second));
        rate.add(MB, 15 * Second);
        QVERIFY(!rate.isSilent(25 * Second - 1));
        QVERIFY(rate.isSilent(25 * Second));
        rate.add(2 * MB, 26 * Second);
        QVERIFY(!rate.isSilent(26 * Second));
        QVERIFY(!rate.isSilent(36 * Second - 1));
    }

    void unchangedSizeDoesNotEndTheSilence()
    {
        GrowingFile file;
        file.grow(MB, 20);
        file.rate.add(file.size, file.now + 9 * Second);
        QVERIFY(file.rate.isSilent(file.now + 10 * Second));
        // Nor does an unchanged size end a silence that has begun.
        file.rate.add(file.size, file.now + 11 * Second);
        QVERIFY(file.rate.isSilent(file.now + 11 * Second));
    }

    void rateIsMeasuredAgainAfterASilence()
    {
        GrowingFile file;
        file.grow(MB, 20);
        QVERIFY(file.rate.secondsLeft(1000 * MB, file.now + 9 * Second));
        QVERIFY(!file.rate.secondsLeft(1000 * MB, file.now + 10 * Second));
        // Neither the silent hour nor the bytes that end it count in the new rate.
        file.now += 3599 * Second;
        file.grow(50 * MB, 1);
        QCOMPARE(file.untilSize(1000 * MB), qint64(-1));
        file.grow(2 * MB, 5);
        QCOMPARE(file.untilMore(100 * MB), qint64(50));
    }

    void moreThanADayIsUnknown()
    {
        GrowingFile file;
        file.grow(1000, 30);
        QCOMPARE(file.untilMore(1000 * (Day - 60)), Day - 60);
        QCOMPARE(file.untilMore(1000 * (Day + 60)), qint64(-1));
        QVERIFY(!file.rate.secondsLeft(std::numeric_limits<qint64>::max(), file.now));
    }

    void manyBytesAtOneMomentAreNoRate()
    {
        TransferRate rate(0);
        for (int step = 1; step < 100; ++step)
            rate.add(step * MB, 0);
        QVERIFY(!rate.secondsLeft(1000 * MB, 0));
        QVERIFY(!rate.secondsLeft(1000 * MB, 5 * Second));
    }

    void completeFileHasNothingLeft()
    {
        GrowingFile file;
        file.grow(MB, 10);
        QCOMPARE(file.untilMore(0), qint64(0));
        QVERIFY(!file.rate.secondsLeft(file.size, file.now + 100000 * Second));
    }
};

QTEST_APPLESS_MAIN(TransferRateTest)
#include "TransferRateTest.moc"
