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

/// The content of the main window: the top bar above the package area. Until the user has moved the
/// focus, it is where Return does no harm: on the first card of the list, or on Refresh if there is
/// no card.
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
    /// The widget that got the focus automatically.
    QPointer<QWidget> m_unchosen;
};

} // namespace Kavo::Ui
