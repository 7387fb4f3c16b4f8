#include "ui/ApplicationContainer.h"

#include "core/ApplicationController.h"
#include "packages/PackageController.h"
#include "ui/PackageContainer.h"
#include "ui/TopBar.h"

#include <QVBoxLayout>

namespace Kavo::Ui {

ApplicationContainer::ApplicationContainer(
    const QSharedPointer<Controllers::ApplicationController> &application,
    const QSharedPointer<Controllers::PackageController> &packages,
    const QSharedPointer<Controllers::TopbarController> &topbar, QWidget *parent)
    : StyledWidget(QStringLiteral("ApplicationContainer"), parent)
    , m_application(application)
    , m_topBar(new TopBar(topbar, this))
{
    using Controllers::PackageController;
    // What gives way to a panel loses the keyboard before it is hidden; a card gets it when it is
    // there.
    for (const auto signal : {&PackageController::busy, &PackageController::empty})
        connect(packages.data(), signal, this, &ApplicationContainer::giveKeyboardToRefresh);
    connect(packages.data(), &PackageController::error, this,
            &ApplicationContainer::giveKeyboardToRefresh);
    m_packages = new PackageContainer(packages, this);
    connect(packages.data(), &PackageController::list, this,
            &ApplicationContainer::giveKeyboardToFirstCard);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_topBar);
    layout->addWidget(m_packages);
}

void ApplicationContainer::giveKeyboardToRefresh()
{
    const QWidget *focused = window()->focusWidget();
    if (focused && m_topBar->isAncestorOf(focused))
        return;
    m_topBar->focusRefresh();
    m_unchosen = window()->focusWidget();
}

void ApplicationContainer::giveKeyboardToFirstCard()
{
    const QWidget *focused = window()->focusWidget();
    if (!focused || focused == m_unchosen)
        m_packages->focusFirstCard();
}

} // namespace Kavo::Ui
