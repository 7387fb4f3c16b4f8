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
class StateLook;

/// The name of the package on the detail view, its progress and its buttons. Follows only the
/// package that was set last, also while it is hidden.
class PackageDetailTitleBar final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailTitleBar(const QSharedPointer<Controllers::PackageController> &controller,
                                   QWidget *parent = nullptr);
    ~PackageDetailTitleBar() override;

    void setPackage(const Models::PackagePointer &package);

private:
    void connectButtons();
    PackageActions actions();

    void onStateChanged(Models::Package::State state);
    void showState();
    void showIndicator(const StateLook &look);
    void showAction(const StateLook &look);
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
