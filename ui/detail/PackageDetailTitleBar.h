#pragma once

#include "components/StyledWidget.h"
#include "packages/model/Package.h"

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
class ProgressFollower;

/// Name of the package shown in detail, what is going on with it, and what can be done to it. It
/// follows the package that was set last, and no other, also while it is hidden.
class PackageDetailTitleBar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailTitleBar(const QSharedPointer<Controllers::PackageController> &controller,
                                   QWidget *parent = nullptr);
    ~PackageDetailTitleBar() override;

    void setPackage(const Models::PackagePointer &package);

    /// Sets texts, visibility and enabled state anew; with `rebindProgress` it also looks for
    /// the running download.
    void refresh(bool rebindProgress);

private:
    void connectButtons();
    PackageActions actions();

    void onStateChanged(Models::Package::State state);
    void react(Models::Package::State state);
    void refreshIndicator(bool rebindProgress);
    void refreshButtons();
    void setAction(const QString &text, const QString &objectName, int glyph);
    void followProgress();
    void showProgress(const QString &text);

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
    QLabel *m_title;
    QLabel *m_progress;
    PackageProcessingWidget *m_indicator;
    QPushButton *m_action;
    QPushButton *m_uninstall;
    QPushButton *m_help;
    QPushButton *m_manual;
    QScopedPointer<QObject> m_packageBinding;    ///< context of the connections to the package
    QScopedPointer<ProgressFollower> m_follower; ///< while the package is on its way
};

} // namespace Kavo::Ui
