#pragma once

#include <QObject>
#include <QTimer>

namespace Kavo::Benchmarks {

/// Measures the longest time for which the event loop of this thread is blocked. A timer fires
/// every millisecond. The time between two of its timeouts, less that millisecond and less the time
/// in which the thread was ready but other threads had the processors, counts as blocked.
class LoopWatch final : public QObject
{
public:
    LoopWatch();

    void begin();
    void end();
    /// In microseconds, over all periods between begin() and end().
    qint64 longest() const { return m_longest; }

private:
    void tick();

    QTimer m_timer;
    qint64 m_last = 0;
    qint64 m_waited = 0;
    qint64 m_longest = 0;
};

} // namespace Kavo::Benchmarks
