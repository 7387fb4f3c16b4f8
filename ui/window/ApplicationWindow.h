#pragma once

#include "core/ApplicationController.h"

#include <QMainWindow>
#include <QSharedPointer>

namespace Kavo::Controllers {
class PackageController;
class TopbarController;
} // namespace Kavo::Controllers

namespace Kavo::Ui {

/// The frameless main window. It follows the application controller, reports changes of its state
/// by the window manager to it, and refuses to close during installations and removals.
class ApplicationWindow final : public QMainWindow
{
    Q_OBJECT

public:
    ApplicationWindow(const QSharedPointer<Controllers::ApplicationController> &application,
                      const QSharedPointer<Controllers::PackageController> &packages,
                      const QSharedPointer<Controllers::TopbarController> &topbar,
                      QWidget *parent = nullptr);

    /// Brings the window to the front in its last visible state.
    void present();

public slots:
    /// The order is fixed, see docs/compatibility.md.
    void onStyleChanged(const QString &style);
    void onLanguageChanged();
    void onGeometryChanged();
    void onStateChanged();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void adoptGeometry();
    void adoptState();

    QSharedPointer<Controllers::ApplicationController> m_application;
    QSharedPointer<Controllers::PackageController> m_packages;
    QSharedPointer<Controllers::TopbarController> m_topbar;
    /// The last state in which the window was visible.
    Controllers::ApplicationController::State m_openState =
        Controllers::ApplicationController::NORMAL;
    bool m_adoptsState = false;
};

} // namespace Kavo::Ui
