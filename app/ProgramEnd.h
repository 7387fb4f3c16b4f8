#pragma once

#include <QObject>

class QSessionManager;
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
    /// Both have to live as long as this.
    ProgramEnd(QWidget &window, Controllers::PackageController &packages);

    /// Ends the program as soon as nothing is being installed. May be called any number of times.
    void request();

private:
    void endSession(QSessionManager &manager);
    void endIfIdle();

    QWidget &m_window;
    Controllers::PackageController &m_packages;
    bool m_isRequested = false;
};

} // namespace Kavo
