#include "ui/ApplicationWindow.h"

#include "core/ApplicationController.h"
#include "dialogs/MessageBoxes.h"
#include "packages/PackageController.h"
#include "ui/ApplicationContainer.h"
#include "ui/TopbarController.h"

#include <QApplication>
#include <QCloseEvent>
#include <QScreen>

namespace Kavo::Ui {

using Controllers::ApplicationController;

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
    application->setScreenSize(QGuiApplication::primaryScreen()->size());
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

void ApplicationWindow::closeEvent(QCloseEvent *event)
{
    if (!m_packages->isBusy()) {
        QMainWindow::closeEvent(event);
        return;
    }
    event->ignore();
    Dialogs::showMessage(this, QMessageBox::Warning, tr("Installation in progress"),
                         tr("There is a installation in progress.\n\nTry closing the application "
                            "after the installation is completed"));
}

} // namespace Kavo::Ui
