#include "core/Clock.h"

#include <QElapsedTimer>
#include <QtTest>

using Kavo::Clock;
using Kavo::steadyClock;

/// Compares the clock with two timers. One starts before the first reading and one after it, so
/// that the duration of the calls does not matter.
class ClockTest final : public QObject
{
    Q_OBJECT

private slots:
    void millisecondsAreCounted();
};

void ClockTest::millisecondsAreCounted()
{
    const Clock clock = steadyClock();
    QElapsedTimer outside;
    outside.start();
    const qint64 begin = clock();
    QElapsedTimer inside;
    inside.start();
    qint64 end = begin;
    while (inside.elapsed() < 50) {
        QVERIFY(clock() >= end);
        end = clock();
    }
    const qint64 least = inside.elapsed();
    const qint64 counted = clock() - begin;
    const qint64 most = outside.elapsed();
    // Each of the four readings is rounded down to milliseconds.
    QVERIFY2(counted >= least - 1, qPrintable(QString::number(counted)));
    QVERIFY2(counted <= most + 1, qPrintable(QString::number(counted)));
}

QTEST_APPLESS_MAIN(ClockTest)
#include "ClockTest.moc"
