#include "benchmarks/LoopWatch.h"

#include "benchmarks/Process.h"

#include <QFile>

namespace Kavo::Benchmarks {

namespace {

/// The time for which this thread was ready to run but had no processor, in microseconds since it
/// started.
qint64 waitedForProcessor()
{
    QFile file(QStringLiteral("/proc/thread-self/schedstat"));
    file.open(QIODevice::ReadOnly);
    return file.readAll().split(' ').value(1).toLongLong() / 1000;
}

} // namespace

LoopWatch::LoopWatch()
{
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &LoopWatch::tick);
}

void LoopWatch::begin()
{
    m_last = wallTime();
    m_waited = waitedForProcessor();
    m_timer.start(1);
}

void LoopWatch::end()
{
    tick();
    m_timer.stop();
}

void LoopWatch::tick()
{
    const qint64 now = wallTime();
    const qint64 waited = waitedForProcessor();
    m_longest = qMax(m_longest, now - m_last - 1000 - (waited - m_waited));
    m_last = now;
    m_waited = waited;
}

} // namespace Kavo::Benchmarks
