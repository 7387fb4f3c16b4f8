#pragma once

#include <QMainWindow>
#include <QSharedPointer>

namespace Kavo::Controllers {
class ApplicationController;
class PackageController;
class TopbarController;
} // namespace Kavo::Controllers

namespace Kavo::Ui {

/// The frameless main window. It follows the application controller in everything and refuses to
/// close while packages are being installed or removed.
class ApplicationWindow final : public QMainWindow
{
    Q_OBJECT

public:
    ApplicationWindow(const QSharedPointer<Controllers::ApplicationController> &application,
                      const QSharedPointer<Controllers::PackageController> &packages,
                      const QSharedPointer<Controllers::TopbarController> &topbar,
                      QWidget *parent = nullptr);

public slots:
    void onStyleChanged(const QString &style);
    void onLanguageChanged();
    void onGeometryChanged();
    void onStateChanged();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    QSharedPointer<Controllers::ApplicationController> m_application;
    QSharedPointer<Controllers::PackageController> m_packages;
    QSharedPointer<Controllers::TopbarController> m_topbar;
};

} // namespace Kavo::Ui
