#pragma once

#include "packages/PackageEnvironment.h"

#include <QSharedPointer>

class QApplication;
class QSplashScreen;

namespace Kavo {

class EndSignals;
class Settings;

/// Creates the controllers and the main window, runs the event loop and writes the settings at its
/// end. The settings must be complete.
class Assembly final
{
public:
    Assembly(QApplication &application, QSplashScreen &splash, QSharedPointer<Settings> settings,
             const EndSignals &endSignals,
             PackageEnvironment environment = PackageEnvironment::standard());
    Q_DISABLE_COPY_MOVE(Assembly)

    /// Returns the result of the event loop. A termination signal ends the loop. Waits for a
    /// running installation.
    int run();

private:
    QApplication &m_application;
    QSplashScreen &m_splash;
    QSharedPointer<Settings> m_settings;
    const EndSignals &m_endSignals;
    PackageEnvironment m_environment;
};

} // namespace Kavo
