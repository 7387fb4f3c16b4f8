#pragma once

#include <QObject>

#include <chrono>

class QWidget;

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo {

/// Ends the program where nobody can be asked: on a signal, and at the end of the desktop's
/// session. Open questions are answered with No, a running installation is finished and recorded,
/// no other one begins, and then the event loop ends with status 0. Downloads stop where they are.
/// Main thread.
class ProgramEnd final : public QObject
{
    Q_OBJECT

public:
    /// How long the queue waits for a session to end. One that has not ended by then goes on;
    /// nobody tells of that.
    static constexpr std::chrono::seconds LongestFarewell{30};

    /// Both have to live as long as this.
    ProgramEnd(QWidget &window, Controllers::PackageController &packages,
               std::chrono::milliseconds farewell = LongestFarewell);

    /// Ends the program as soon as nothing is being installed. May be called any number of times.
    void request();
    /// What the desktop asks for at the end of its session, and waits for. It ends the program
    /// afterwards, unless somebody else prevents the end of the session.
    void prepareForSessionEnd();

private:
    void endIfIdle();

    QWidget &m_window;
    Controllers::PackageController &m_packages;
    std::chrono::milliseconds m_farewell;
    bool m_isRequested = false;
};

} // namespace Kavo
