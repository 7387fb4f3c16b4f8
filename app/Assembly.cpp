#include "app/Assembly.h"

#include "app/EndSignals.h"
#include "app/ProgramEnd.h"
#include "app/SplashMessage.h"
#include "app/WorkReport.h"
#include "components/WindowControl.h"
#include "core/ApplicationController.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "packages/PackageController.h"
#include "ui/window/ApplicationWindow.h"
#include "ui/window/TopbarController.h"

#include <QApplication>
#include <QNetworkAccessManager>
#include <QScreen>
#include <QSplashScreen>
#include <QTimer>

#include <utility>

namespace Kavo {

using Controllers::ApplicationController;
using Controllers::PackageController;
using Controllers::TopbarController;

namespace {

/// On a screen that is smaller than the window, the window is maximised.
void maximizeIfTooLarge(const QWidget &window)
{
    const QSize room = QGuiApplication::primaryScreen()->availableSize();
    if (window.width() > room.width() || window.height() > room.height())
        window.findChild<Components::WindowControl *>()->toggle();
}

} // namespace

Assembly::Assembly(QApplication &application, QSplashScreen &splash,
                   QSharedPointer<Settings> settings, const EndSignals &endSignals,
                   PackageEnvironment environment)
    : m_application(application)
    , m_splash(splash)
    , m_settings(std::move(settings))
    , m_endSignals(endSignals)
    , m_environment(std::move(environment))
{}

int Assembly::run()
{
    showSplashMessage(m_splash, QSplashScreen::tr("Initializing..."));
    // The installing thread sends states by queued signals.
    Models::registerPackageState();
    const auto network = QSharedPointer<QNetworkAccessManager>::create();
    const auto downloads = QSharedPointer<Managers::DownloadManager>::create(m_settings, network);
    const auto application = QSharedPointer<ApplicationController>::create();
    const auto packages =
        QSharedPointer<PackageController>::create(m_settings, downloads, m_environment);
    const auto topbar = QSharedPointer<TopbarController>::create(m_settings, packages, application);

    showSplashMessage(m_splash, QSplashScreen::tr("Creating UI..."));
    Ui::ApplicationWindow window(application, packages, topbar);
    const WorkReport report(packages->installer());
    ProgramEnd end(window, *packages);
    QObject::connect(&m_endSignals, &EndSignals::requested, &end, &ProgramEnd::request);
    // A signal that arrived earlier takes effect only after the loop has started.
    if (m_endSignals.isRequested())
        QTimer::singleShot(0, &end, &ProgramEnd::request);
    // Shown first, because the splash screen waits for the window. The waiting happens in the event
    // loop, since only a running loop can react to a request to end.
    window.show();
    QTimer::singleShot(0, &window, [this, &window] {
        m_splash.finish(&window);
        if (window.isVisible())
            maximizeIfTooLarge(window);
    });
    const int status = m_application.exec();
    m_settings->save();
    return status;
}

} // namespace Kavo
