#pragma once

#include "packages/PackageEnvironment.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QSharedPointer>

#include <memory>

class QApplication;
class QSplashScreen;

namespace Kavo {

class EndSignals;
class Settings;
class SingleInstance;

/// Starts the program behind its splash screen, from the log to the simulator folder, and runs the
/// assembly, unless another instance is running. The order of the steps matters: the names
/// determine where settings and log are, the settings determine the language, and nothing else
/// works without the simulator folder.
class StartUp final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::StartUp)

public:
    explicit StartUp(QApplication &application,
                     PackageEnvironment environment = PackageEnvironment::standard(),
                     QByteArray activationToken = QByteArray());
    ~StartUp();
    Q_DISABLE_COPY_MOVE(StartUp)

    /// Runs the program and returns its exit status: 1 without a simulator folder, otherwise that
    /// of the event loop. If another instance runs on the same profile, it is brought to the front
    /// and nothing else is touched.
    int run();

private:
    void setNames();
    bool claimProfile();
    void hearEndSignals();
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

    bool isEnding() const;

    QApplication &m_application;
    PackageEnvironment m_environment;
    QByteArray m_activationToken;
    /// Destroyed last: until then all files may still be in use.
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<EndSignals> m_endSignals;
    std::unique_ptr<QSplashScreen> m_splash;
    QSharedPointer<Settings> m_settings;
};

} // namespace Kavo
