#pragma once

#include <QObject>
#include <QTimer>

namespace Kavo::Benchmarks {

/// Measures the longest time for which the event loop of this thread is blocked. A timer fires
/// every millisecond. The time between two timeouts counts as blocked, minus one millisecond and
/// minus the time for which the thread was ready to run but had no processor.
class LoopWatch final : public QObject
{
public:
    LoopWatch();

    void begin();
    void end();
    /// The longest blocked time of all periods between begin() and end(), in microseconds.
    qint64 longest() const { return m_longest; }

private:
    void tick();

    QTimer m_timer;
    qint64 m_last = 0;
    qint64 m_waited = 0;
    qint64 m_longest = 0;
};

} // namespace Kavo::Benchmarks
