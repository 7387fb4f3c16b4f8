#include "ui/window/ApplicationWindow.h"

#include "components/FocusRing.h"
#include "components/WindowEdges.h"
#include "dialogs/MessageBoxes.h"
#include "packages/PackageController.h"
#include "ui/window/ApplicationContainer.h"
#include "ui/window/TopbarController.h"

#include <QApplication>
#include <QCloseEvent>
#include <QScreen>

namespace Kavo::Ui {

using Controllers::ApplicationController;

namespace {

/// In a smaller window the texts of the cards do not fit.
constexpr QSize SmallestSize(960, 600);

ApplicationController::State stateOf(const QWidget &window)
{
    if (window.isMinimized())
        return ApplicationController::MINIMIZED;
    if (window.isFullScreen())
        return ApplicationController::FULL_SCREEN;
    return window.isMaximized() ? ApplicationController::MAXIMIZED : ApplicationController::NORMAL;
}

} // namespace

ApplicationWindow::ApplicationWindow(const QSharedPointer<ApplicationController> &application,
                                     const QSharedPointer<Controllers::PackageController> &packages,
                                     const QSharedPointer<Controllers::TopbarController> &topbar,
                                     QWidget *parent)
    : QMainWindow(parent)
    , m_application(application)
    , m_packages(packages)
    , m_topbar(topbar)
{
    setObjectName(QStringLiteral("ApplicationWindow"));
    setWindowFlag(Qt::FramelessWindowHint);
    setWindowTitle(tr("Kavo Suite"));
    setCentralWidget(new ApplicationContainer(application, packages, topbar, this));
    new Components::WindowEdges(centralWidget());
    Components::FocusRing::follow(this);
    const QScreen *screen = QGuiApplication::primaryScreen();
    setMinimumSize(SmallestSize.boundedTo(screen->availableSize()));

    const ApplicationController *controller = application.data();
    connect(controller, &ApplicationController::styleChanged, this,
            &ApplicationWindow::onStyleChanged);
    connect(controller, &ApplicationController::languageChanged, this,
            &ApplicationWindow::onLanguageChanged);
    connect(controller, &ApplicationController::geometryChanged, this,
            &ApplicationWindow::onGeometryChanged);
    connect(controller, &ApplicationController::stateChanged, this,
            &ApplicationWindow::onStateChanged);
    connect(controller, &ApplicationController::exitRequest, this, &QWidget::close);
    application->setScreenSize(screen->size());
}

void ApplicationWindow::present()
{
    if (m_application->state() == ApplicationController::MINIMIZED)
        m_application->setState(m_openState);
    raise();
    activateWindow();
}

void ApplicationWindow::onStyleChanged(const QString &style)
{
    qApp->setStyleSheet(style);
}

void ApplicationWindow::onLanguageChanged()
{
    // A new language takes effect at the next start.
}

void ApplicationWindow::onGeometryChanged()
{
    if (m_application->state() != ApplicationController::MAXIMIZED)
        setGeometry(m_application->x(), m_application->y(), m_application->width(),
                    m_application->height());
}

void ApplicationWindow::onStateChanged()
{
    // The window already has this geometry.
    if (m_adoptsState)
        return;
    switch (m_application->state()) {
    case ApplicationController::NORMAL:
        setWindowState(Qt::WindowNoState);
        break;
    case ApplicationController::MAXIMIZED:
        setWindowState(Qt::WindowMaximized);
        break;
    case ApplicationController::MINIMIZED:
        setWindowState(Qt::WindowMinimized);
        break;
    case ApplicationController::FULL_SCREEN:
        setWindowState(Qt::WindowFullScreen);
        break;
    }
}

void ApplicationWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    adoptGeometry();
}

void ApplicationWindow::moveEvent(QMoveEvent *event)
{
    QMainWindow::moveEvent(event);
    adoptGeometry();
}

/// The user may have dragged an edge; the next move of the window starts there.
void ApplicationWindow::adoptGeometry()
{
    if (!isVisible() || stateOf(*this) != ApplicationController::NORMAL)
        return;
    m_application->setWidth(width());
    m_application->setHeight(height());
    m_application->setX(x());
    m_application->setY(y());
}

void ApplicationWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        adoptState();
}

void ApplicationWindow::adoptState()
{
    const ApplicationController::State before = m_application->state();
    const ApplicationController::State now = stateOf(*this);
    // A minimised window does not report that it was maximised.
    if (before == ApplicationController::MINIMIZED && now == ApplicationController::NORMAL &&
        m_openState != ApplicationController::NORMAL) {
        m_application->setState(m_openState);
        return;
    }
    if (now != ApplicationController::MINIMIZED)
        m_openState = now;
    if (now == before)
        return;
    m_adoptsState = true;
    m_application->setState(now);
    m_adoptsState = false;
}

void ApplicationWindow::closeEvent(QCloseEvent *event)
{
    if (!m_packages->isBusy()) {
        QMainWindow::closeEvent(event);
        return;
    }
    event->ignore();
    Dialogs::showMessage(this, QMessageBox::Warning, tr("Installation in progress"),
                         // Fixed, see docs/compatibility.md.
                         tr("There is a installation in progress.\n\nTry closing the application "
                            "after the installation is completed"));
}

} // namespace Kavo::Ui
