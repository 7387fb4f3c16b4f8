#pragma once

#include "packages/PackageEnvironment.h"

#include <QCoreApplication>
#include <QSharedPointer>

#include <memory>

class QApplication;
class QSplashScreen;

namespace Kavo {

class Settings;

/// Brings the program up behind its splash screen, from the log to the simulator folder, and hands
/// over to the assembly. The order of the steps matters: the names decide where the settings and
/// the log live, the settings decide the language, and nothing else works without the folder.
class StartUp final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::StartUp)

public:
    explicit StartUp(QApplication &application,
                     PackageEnvironment environment = PackageEnvironment::standard());
    ~StartUp();
    Q_DISABLE_COPY_MOVE(StartUp)

    /// Runs the program to its end and returns its exit status: 1 when there is no simulator
    /// folder, otherwise that of the event loop.
    int run();

private:
    void setNames();
    void introduceToDesktop();
    void openLog();
    void showSplash();
    void loadSettings();
    void fillDefaults();
    void setUpAppearance();
    bool settleInstallation();
    void applyStyle();
    QString detectInstallation();
    QString askForInstallation();

    QApplication &m_application;
    PackageEnvironment m_environment;
    std::unique_ptr<QSplashScreen> m_splash;
    QSharedPointer<Settings> m_settings;
};

} // namespace Kavo
