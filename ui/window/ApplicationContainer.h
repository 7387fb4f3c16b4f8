#pragma once

#include "components/StyledWidget.h"

#include <QPointer>
#include <QSharedPointer>

namespace Kavo::Controllers {
class ApplicationController;
class PackageController;
class TopbarController;
} // namespace Kavo::Controllers

namespace Kavo::Ui {

class PackageContainer;
class TopBar;

/// What the main window holds: the top bar above the package area. As long as nobody has chosen a
/// place for the keyboard, it is where Return does no harm: at the first card of the list, at
/// Refresh where there is none.
class ApplicationContainer final : public Components::StyledWidget
{
    Q_OBJECT

public:
    ApplicationContainer(const QSharedPointer<Controllers::ApplicationController> &application,
                         const QSharedPointer<Controllers::PackageController> &packages,
                         const QSharedPointer<Controllers::TopbarController> &topbar,
                         QWidget *parent = nullptr);

private:
    void joinSearch();
    void giveKeyboardToRefresh();
    void giveKeyboardToFirstCard();

    QSharedPointer<Controllers::ApplicationController> m_application;
    TopBar *m_topBar;
    PackageContainer *m_packages = nullptr;
    /// What was given the keyboard without having been chosen.
    QPointer<QWidget> m_unchosen;
};

} // namespace Kavo::Ui
