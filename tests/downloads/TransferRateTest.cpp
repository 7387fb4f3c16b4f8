#include "downloads/TransferRate.h"

#include <QtTest>

#include <limits>

using Kavo::Managers::TransferRate;

namespace {

constexpr qint64 MB = 1000000;
constexpr qint64 Second = 1000;
constexpr qint64 Day = 24 * 60 * 60;

/// A file that grows by so much each second, measured at the end of each; begins at this moment
/// with this size. Returns the moment at which it ends.
qint64 grow(TransferRate &rate, qint64 &size, qint64 now, qint64 bytesASecond, int seconds)
{
    for (int second = 0; second < seconds; ++second) {
        now += Second;
        size += bytesASecond;
        rate.add(size, now);
    }
    return now;
}

} // namespace

/// How long the rest of a download takes. The test makes the time.
class TransferRateTest final : public QObject
{
    Q_OBJECT

private slots:
    void steadyTransferTellsTheTime();
    void nothingIsToldBeforeEnoughWasSeen();
    void nothingIsToldWithoutAUsefulTotal_data();
    void nothingIsToldWithoutAUsefulTotal();
    void whatLayThereBeforeIsNoRate();
    void fileThatBeginsAfreshIsMeasuredAnew();
    void shortBurstChangesLittle();
    void lastingChangeIsFollowed();
    void pauseMakesItLonger();
    void silenceBeginsAfterTenSeconds();
    void unchangedSizeIsNoByte();
    void rateAfterASilenceIsMeasuredAnew();
    void moreThanADayIsNotTold();
    void manyBytesAtOneMomentAreNoRate();
    void completeFileHasNothingLeft();
};

void TransferRateTest::steadyTransferTellsTheTime()
{
    TransferRate rate(7 * Second);
    qint64 size = 0;
    rate.add(size, 7 * Second);
    const qint64 now = grow(rate, size, 7 * Second, 2 * MB, 40);
    QCOMPARE(rate.secondsLeft(size + 360 * MB, now).value_or(-1), qint64(180));
}

void TransferRateTest::nothingIsToldBeforeEnoughWasSeen()
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

void TransferRateTest::nothingIsToldWithoutAUsefulTotal_data()
{
    QTest::addColumn<qint64>("total");
    QTest::newRow("unknown") << qint64(0);
    QTest::newRow("told to be unknown") << qint64(-1);
    QTest::newRow("less than there is") << 10 * MB - 1;
}

void TransferRateTest::nothingIsToldWithoutAUsefulTotal()
{
    QFETCH(qint64, total);
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    const qint64 now = grow(rate, size, 0, MB, 10);
    QVERIFY(!rate.secondsLeft(total, now));
}

void TransferRateTest::whatLayThereBeforeIsNoRate()
{
    TransferRate rate(0);
    qint64 size = 900 * MB;
    rate.add(size, Second);
    const qint64 now = grow(rate, size, Second, MB, 20);
    QCOMPARE(rate.secondsLeft(1000 * MB, now).value_or(-1), qint64(80));
}

void TransferRateTest::fileThatBeginsAfreshIsMeasuredAnew()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    qint64 now = grow(rate, size, 0, 50 * MB, 10);
    size = MB;
    rate.add(size, now + Second);
    QVERIFY(!rate.secondsLeft(1000 * MB, now + Second));
    now = grow(rate, size, now + Second, MB, 9);
    QCOMPARE(rate.secondsLeft(110 * MB, now).value_or(-1), qint64(100));
}

void TransferRateTest::shortBurstChangesLittle()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    qint64 now = grow(rate, size, 0, MB, 60);
    now = grow(rate, size, now, 4 * MB, 1);
    const qint64 left = rate.secondsLeft(size + 100 * MB, now).value_or(-1);
    QVERIFY2(left > 75 && left < 95, qPrintable(QString::number(left)));
}

void TransferRateTest::lastingChangeIsFollowed()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    qint64 now = grow(rate, size, 0, MB, 300);
    now = grow(rate, size, now, 4 * MB, 60);
    const qint64 left = rate.secondsLeft(size + 400 * MB, now).value_or(-1);
    QVERIFY2(left >= 100 && left < 110, qPrintable(QString::number(left)));
}

void TransferRateTest::pauseMakesItLonger()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    const qint64 now = grow(rate, size, 0, MB, 60);
    const qint64 total = size + 100 * MB;
    QCOMPARE(rate.secondsLeft(total, now).value_or(-1), qint64(100));
    const qint64 later = rate.secondsLeft(total, now + 5 * Second).value_or(-1);
    QVERIFY2(later > 120 && later < 200, qPrintable(QString::number(later)));
}

void TransferRateTest::silenceBeginsAfterTenSeconds()
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

void TransferRateTest::unchangedSizeIsNoByte()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    const qint64 now = grow(rate, size, 0, MB, 20);
    rate.add(size, now + 9 * Second);
    QVERIFY(rate.isSilent(now + 10 * Second));
    // Nor does it end the silence.
    rate.add(size, now + 11 * Second);
    QVERIFY(rate.isSilent(now + 11 * Second));
}

void TransferRateTest::rateAfterASilenceIsMeasuredAnew()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    qint64 now = grow(rate, size, 0, MB, 20);
    QVERIFY(rate.secondsLeft(1000 * MB, now + 9 * Second));
    QVERIFY(!rate.secondsLeft(1000 * MB, now + 10 * Second));
    // Neither the hour nor what comes at its end tells how fast it goes on.
    now += 3600 * Second;
    size += 50 * MB;
    rate.add(size, now);
    QVERIFY(!rate.secondsLeft(1000 * MB, now));
    now = grow(rate, size, now, 2 * MB, 5);
    QCOMPARE(rate.secondsLeft(size + 100 * MB, now).value_or(-1), qint64(50));
}

void TransferRateTest::moreThanADayIsNotTold()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    const qint64 now = grow(rate, size, 0, 1000, 30);
    QCOMPARE(rate.secondsLeft(size + 1000 * (Day - 60), now).value_or(-1), Day - 60);
    QVERIFY(!rate.secondsLeft(size + 1000 * (Day + 60), now));
    QVERIFY(!rate.secondsLeft(std::numeric_limits<qint64>::max(), now));
}

void TransferRateTest::manyBytesAtOneMomentAreNoRate()
{
    TransferRate rate(0);
    for (int step = 1; step < 100; ++step)
        rate.add(step * MB, 0);
    QVERIFY(!rate.secondsLeft(1000 * MB, 0));
    QVERIFY(!rate.secondsLeft(1000 * MB, 5 * Second));
}

void TransferRateTest::completeFileHasNothingLeft()
{
    TransferRate rate(0);
    qint64 size = 0;
    rate.add(size, 0);
    const qint64 now = grow(rate, size, 0, MB, 10);
    QCOMPARE(rate.secondsLeft(size, now).value_or(-1), qint64(0));
    QVERIFY(!rate.secondsLeft(size, now + 100000 * Second));
}

QTEST_APPLESS_MAIN(TransferRateTest)
#include "TransferRateTest.moc"
