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

/// Brings the program up behind its splash screen, from the log to the simulator folder, and hands
/// over to the assembly, unless it is running already. The order of the steps matters: the names
/// decide where the settings and the log live, the settings decide the language, and nothing else
/// works without the folder.
class StartUp final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::StartUp)

public:
    explicit StartUp(QApplication &application,
                     PackageEnvironment environment = PackageEnvironment::standard(),
                     QByteArray activationToken = QByteArray());
    ~StartUp();
    Q_DISABLE_COPY_MOVE(StartUp)

    /// Runs the program to its end and returns its exit status: 1 when there is no simulator
    /// folder, otherwise that of the event loop. Where one is running on the same profile, that one
    /// is brought to the front instead, and nothing else is touched.
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
    /// Goes last: until then everything on the disk may still be in use.
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<EndSignals> m_endSignals;
    std::unique_ptr<QSplashScreen> m_splash;
    QSharedPointer<Settings> m_settings;
};

} // namespace Kavo
