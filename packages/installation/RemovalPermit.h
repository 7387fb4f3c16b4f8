#pragma once

#include <QObject>

#include <condition_variable>
#include <mutex>

namespace Kavo::Models {

/// Stands between the last step of an installation that leaves the simulator as it is and the first
/// that removes a file. The task asks on its worker thread and goes on as soon as the main thread
/// has written down what has to be known if the program dies from there on.
class RemovalPermit final : public QObject
{
    Q_OBJECT

public:
    /// Says that files are about to be removed, and waits for grant(). Worker thread, once.
    void ask();
    /// Says that the task is over. Worker thread.
    void close();

    /// Main thread, once it has been asked.
    void grant();
    /// Waits until the task asks or is over, for a main thread whose event loop has ended. Returns
    /// whether it is waiting for grant().
    bool waitForQuestion();

signals:
    /// Emitted on the worker thread.
    void asked();

private:
    enum class State { WORKING, ASKED, GRANTED, OVER };

    void setState(State state);

    /// Not Qt's: ThreadSanitizer sees this one also when two threads meet at it.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::WORKING;
};

} // namespace Kavo::Models
