#include "app/Assembly.h"

#include "app/SplashMessage.h"
#include "core/ApplicationController.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "packages/PackageController.h"
#include "ui/ApplicationWindow.h"
#include "ui/TopbarController.h"

#include <QApplication>
#include <QNetworkAccessManager>
#include <QSplashScreen>

#include <utility>

namespace Kavo {

using Controllers::ApplicationController;
using Controllers::PackageController;
using Controllers::TopbarController;

Assembly::Assembly(QApplication &application, QSplashScreen &splash,
                   QSharedPointer<Settings> settings, PackageEnvironment environment)
    : m_application(application)
    , m_splash(splash)
    , m_settings(std::move(settings))
    , m_environment(std::move(environment))
{}

int Assembly::run()
{
    showSplashMessage(m_splash, QSplashScreen::tr("Initializing..."));
    // States travel from the installing thread in queued signals.
    Models::registerPackageState();
    const auto network = QSharedPointer<QNetworkAccessManager>::create();
    const auto downloads = QSharedPointer<Managers::DownloadManager>::create(m_settings, network);
    const auto application = QSharedPointer<ApplicationController>::create();
    const auto packages =
        QSharedPointer<PackageController>::create(m_settings, downloads, m_environment);
    const auto topbar = QSharedPointer<TopbarController>::create(m_settings, packages, application);

    showSplashMessage(m_splash, QSplashScreen::tr("Creating UI..."));
    Ui::ApplicationWindow window(application, packages, topbar);
    // Shown first: the splash screen waits for the window before it goes.
    window.show();
    m_splash.finish(&window);

    // Closed while the splash screen waited for it, the window has asked a loop to end that was
    // not running yet.
    const int status = window.isVisible() ? m_application.exec() : 0;
    m_settings->save();
    return status;
}

} // namespace Kavo
