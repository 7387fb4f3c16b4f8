#pragma once

#include <QObject>
#include <QTimer>

namespace Kavo::Benchmarks {

/// Watches how long the event loop of this thread is held at most. A timer of 1 ms ticks in it;
/// what passes between two ticks beyond that millisecond, less the time that the thread was ready
/// to run but others had the processors, is the loop's own doing.
class LoopWatch final : public QObject
{
public:
    LoopWatch();

    void begin();
    void end();
    /// In microseconds, of everything between any begin() and end().
    qint64 longest() const { return m_longest; }

private:
    void tick();

    QTimer m_timer;
    qint64 m_last = 0;
    qint64 m_waited = 0;
    qint64 m_longest = 0;
};

} // namespace Kavo::Benchmarks
