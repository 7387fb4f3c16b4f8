#include "app/StartUp.h"

#include "app/ActivationToken.h"
#include "app/Assembly.h"
#include "app/EndSignals.h"
#include "app/Environment.h"
#include "app/Foreground.h"
#include "app/SingleInstance.h"
#include "app/SplashMessage.h"
#include "components/IconFont.h"
#include "components/Picture.h"
#include "core/ApplicationController.h"
#include "core/Installation.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "dialogs/InstallationSelection.h"
#include "dialogs/MessageBoxes.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QMessageBox>
#include <QPixmap>
#include <QSplashScreen>

#include <cstdio>
#include <utility>

namespace Kavo {

StartUp::StartUp(QApplication &application, PackageEnvironment environment,
                 QByteArray activationToken)
    : m_application(application)
    , m_environment(std::move(environment))
    , m_activationToken(std::move(activationToken))
{}

StartUp::~StartUp() = default;

int StartUp::run()
{
    setNames();
    if (!claimProfile())
        return 0;
    hearEndSignals();
    introduceToDesktop();
    openLog();
    showSplash();
    showSplashMessage(*m_splash, QSplashScreen::tr("Starting..."));
    prepareEnvironment();
    showSplashMessage(*m_splash, QSplashScreen::tr("Loading saved configuration..."));
    loadSettings();
    setUpAppearance();
    const bool isSettled = settleInstallation();
    if (!isSettled || isEnding()) {
        QCoreApplication::quit();
        m_splash.reset();
        return isEnding() ? 0 : 1;
    }
    // From now on there may be work to finish before the end.
    m_endSignals->disconnect(&m_application);
    return Assembly(m_application, *m_splash, std::move(m_settings), *m_endSignals, m_environment)
        .run();
}

void StartUp::setNames()
{
    // Fixed, see docs/compatibility.md.
    QCoreApplication::setOrganizationName(tr("Quarnell"));
    QCoreApplication::setApplicationName(tr("Kavo Suite"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KAVO_VERSION));
    QCoreApplication::processEvents();
}

bool StartUp::claimProfile()
{
    forgetActivationToken();
    m_instance = std::make_unique<SingleInstance>(applicationDataDirectory());
    QObject::connect(m_instance.get(), &SingleInstance::showRequested, m_instance.get(),
                     bringToFront);
    if (m_instance->claim(m_activationToken))
        return true;
    // In English, because the language is not known yet.
    if (!m_instance->isAnswered())
        std::fputs("kavo-suite: it is running already, and does not answer\n", stderr);
    if (!m_activationToken.isEmpty())
        endLaunch();
    return false;
}

/// No work can be running before there is a window, so a signal ends the program as soon as it is
/// noticed, even while a dialog is open.
void StartUp::hearEndSignals()
{
    m_endSignals = std::make_unique<EndSignals>();
    QObject::connect(m_endSignals.get(), &EndSignals::requested, &m_application,
                     [] { QCoreApplication::quit(); });
}

bool StartUp::isEnding() const
{
    return m_endSignals->isRequested();
}

/// Task bars find the program's name and icon by its desktop entry. The window icon is for those
/// that do not, and for a program that is not installed.
void StartUp::introduceToDesktop()
{
    QGuiApplication::setDesktopFileName(QStringLiteral(KAVO_DESKTOP_ID));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/resources/img/icon.png")));
}

void StartUp::openLog()
{
    // Fixed, see docs/compatibility.md.
    QFile::remove(logFile());
    qInstallMessageHandler(logMessage);
    logLine(QCoreApplication::applicationName() + QLatin1Char(' ') +
            QCoreApplication::applicationVersion());
}

void StartUp::showSplash()
{
    QPixmap picture(QStringLiteral(":/resources/img/splash.png"));
    const qreal ratio = m_application.devicePixelRatio();
    if (ratio > 1)
        picture =
            Components::scaledToHeight(QPixmap(QStringLiteral(":/resources/img/splash@2x.png")),
                                       picture.height(), ratio, Qt::SmoothTransformation);
    m_splash = std::make_unique<QSplashScreen>(picture);
    m_splash->show();
}

void StartUp::loadSettings()
{
    m_settings = QSharedPointer<Settings>::create();
    logLine(QStringLiteral("Loading settings from : ") + m_settings->fileName());
    fillDefaults();
}

void StartUp::fillDefaults()
{
    const auto fill = [this](Settings::Key key, const QString &value) {
        if (m_settings->current(key).isEmpty())
            m_settings->setPending(key, value);
    };
    fill(Settings::LANGUAGE, QStringLiteral("en"));
    fill(Settings::CACHE, cacheDirectory());
    fill(Settings::PRESERVE, preserveDirectory());
    fill(Settings::BACKUP, backupDirectory());
    fill(Settings::SHOW_FILTER, QStringLiteral("false"));
    fill(Settings::LOCAL_REPO, QStringLiteral("false"));
    m_settings->apply();
}

void StartUp::setUpAppearance()
{
    showSplashMessage(*m_splash, QSplashScreen::tr("Setting up application language..."));
    installTranslation(m_settings->current(Settings::LANGUAGE));
    showSplashMessage(*m_splash, QSplashScreen::tr("Loading fonts..."));
    Components::iconFont()->initFontAwesome();
    loadFonts();
}

bool StartUp::settleInstallation()
{
    // A folder that was found before is trusted.
    // Fixed, see docs/compatibility.md.
    if (!m_settings->current(Settings::INSTALLATION).isEmpty())
        return true;
    QString folder = detectInstallation();
    if (folder.isEmpty() && !isEnding()) {
        applyStyle();
        folder = askForInstallation();
    }
    if (folder.isEmpty()) {
        if (isEnding())
            return false;
        Dialogs::showMessage(nullptr, QMessageBox::Information,
                             // Fixed, see docs/compatibility.md.
                             QMessageBox::tr("Dectection failed"),
                             QMessageBox::tr("Unable to determine XPlane installation path.\n\n"
                                             "Application cannot continue further."));
        return false;
    }
    m_settings->setPending(Settings::INSTALLATION, folder);
    m_settings->apply();
    return true;
}

void StartUp::applyStyle()
{
    // The window sets the style sheet, but these boxes are shown before it.
    Controllers::ApplicationController style;
    QObject::connect(&style, &Controllers::ApplicationController::styleChanged, &m_application,
                     &QApplication::setStyleSheet);
    style.loadStyle();
}

QString StartUp::detectInstallation()
{
    // The sources 1, 2 and 4 exist on other platforms only; the numbers are the same on all.
    // Fixed, see docs/compatibility.md.
    showSplashMessage(*m_splash, QSplashScreen::tr("Auto-detecting X-Plane installation...1"));
    showSplashMessage(*m_splash, QSplashScreen::tr("Auto-detecting X-Plane installation...2"));
    showSplashMessage(*m_splash, QSplashScreen::tr("Auto-detecting X-Plane installation...3"));
    const QString folder = locateInstallation([this] { return isEnding(); });
    showSplashMessage(*m_splash, QSplashScreen::tr("Auto-detecting X-Plane installation...4"));
    return folder;
}

QString StartUp::askForInstallation()
{
    showSplashMessage(*m_splash, QSplashScreen::tr("Manual-detecting X-Plane installation..."));
    Dialogs::showMessage(nullptr, QMessageBox::Information,
                         // Fixed, see docs/compatibility.md.
                         QMessageBox::tr("Auto-dectection failed"),
                         QMessageBox::tr("Unable to determine XPlane installation path.\n\n"
                                         "Please select the XPlane folder in the next dialog"));
    return Dialogs::selectInstallation();
}

} // namespace Kavo
