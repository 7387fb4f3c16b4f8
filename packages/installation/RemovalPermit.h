#pragma once

#include <QObject>

#include <condition_variable>
#include <mutex>

namespace Kavo::Models {

/// Synchronises the worker thread with the main thread before the first file is removed. The task
/// asks on its worker thread, and continues after the main thread has recorded what must be known
/// if the program dies from there on.
class RemovalPermit final : public QObject
{
    Q_OBJECT

public:
    /// Announces that files are about to be removed, and waits for grant(). Worker thread, once.
    void ask();
    /// Announces that the task has ended. Worker thread.
    void close();

    /// Lets the task continue. Main thread, after it has asked.
    void grant();
    /// Waits until the task asks or has ended, for a main thread without a running event loop.
    /// Returns whether the task waits for grant().
    bool waitForQuestion();

signals:
    /// Emitted on the worker thread.
    void asked();

private:
    enum class State { WORKING, ASKED, GRANTED, OVER };

    void setState(State state);

    /// Not QMutex: ThreadSanitizer recognises this one even under contention.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::WORKING;
};

} // namespace Kavo::Models
