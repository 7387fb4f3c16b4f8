#pragma once

#include <QObject>

#include <chrono>

class QWidget;

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo {

/// Ends the program without a question to the user: on a signal, and at the end of the desktop
/// session. Open dialogs are rejected, a running installation is finished and recorded, no other
/// one begins, and then the event loop ends with status 0. Downloads are interrupted. Main thread.
class ProgramEnd final : public QObject
{
    Q_OBJECT

public:
    /// How long the queue waits for the end of the session. If the session continues after all, the
    /// program is not told, so the queue continues after this time.
    static constexpr std::chrono::seconds LongestFarewell{30};

    /// Both must outlive this object.
    ProgramEnd(QWidget &window, Controllers::PackageController &packages,
               std::chrono::milliseconds farewell = LongestFarewell);

    /// Ends the program as soon as no installation is running. May be called any number of times.
    void request();
    /// Handles the desktop's request at the end of the session, which waits for this call.
    /// Afterwards the desktop ends the program, unless the end of the session is cancelled.
    void prepareForSessionEnd();

private:
    void endIfIdle();

    QWidget &m_window;
    Controllers::PackageController &m_packages;
    std::chrono::milliseconds m_farewell;
    bool m_isRequested = false;
};

} // namespace Kavo
