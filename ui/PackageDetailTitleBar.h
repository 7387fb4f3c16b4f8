#pragma once

#include "components/StyledWidget.h"
#include "packages/Package.h"

#include <QScopedPointer>
#include <QSharedPointer>

class QLabel;
class QPushButton;

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

class PackageActions;
class PackageProcessingWidget;

/// Name of the package shown in detail, what is going on with it, and what can be done to it. It
/// follows the package that was set last, and no other, also while it is hidden.
class PackageDetailTitleBar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailTitleBar(const QSharedPointer<Controllers::PackageController> &controller,
                                   QWidget *parent = nullptr);

    void setPackage(const Models::PackagePointer &package);

    /// Sets texts, visibility and enabled state anew; with `rebindProgress` the indicator also
    /// looks for the running download.
    void refresh(bool rebindProgress);

private:
    void connectButtons();
    PackageActions actions();

    void onStateChanged(Models::Package::State state);
    void react(Models::Package::State state);
    void refreshIndicator(bool rebindProgress);
    void refreshButtons();
    void setAction(const QString &text, const QString &objectName, int glyph);
    void bindProgress();
    void showProgress();

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
    QLabel *m_title;
    PackageProcessingWidget *m_indicator;
    QPushButton *m_action;
    QPushButton *m_uninstall;
    QPushButton *m_help;
    QPushButton *m_manual;
    /// Contexts of the connections to the package and to its download.
    QScopedPointer<QObject> m_packageBinding;
    QScopedPointer<QObject> m_progressBinding;
    qint64 m_received = 0;
    qint64 m_total = 0;
};

} // namespace Kavo::Ui
