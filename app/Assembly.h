#pragma once

#include "packages/PackageEnvironment.h"

#include <QSharedPointer>

class QApplication;
class QSplashScreen;

namespace Kavo {

class Settings;

/// Makes the controllers and the main window, runs the event loop and writes the settings when it
/// ends. The settings must be complete.
class Assembly final
{
public:
    Assembly(QApplication &application, QSplashScreen &splash, QSharedPointer<Settings> settings,
             PackageEnvironment environment = PackageEnvironment::standard());
    Q_DISABLE_COPY_MOVE(Assembly)

    /// Returns what the event loop returned. Waits for an installation that is still running.
    int run();

private:
    QApplication &m_application;
    QSplashScreen &m_splash;
    QSharedPointer<Settings> m_settings;
    PackageEnvironment m_environment;
};

} // namespace Kavo
