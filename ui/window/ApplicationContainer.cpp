#include "ui/window/ApplicationContainer.h"

#include "core/ApplicationController.h"
#include "packages/PackageController.h"
#include "ui/window/PackageContainer.h"
#include "ui/window/TopBar.h"

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
    // A widget that is replaced by a panel loses the focus before it is hidden; a card gets the
    // focus when it exists.
    for (const auto signal : {&PackageController::busy, &PackageController::empty})
        connect(packages.data(), signal, this, &ApplicationContainer::giveKeyboardToRefresh);
    connect(packages.data(), &PackageController::error, this,
            &ApplicationContainer::giveKeyboardToRefresh);
    m_packages = new PackageContainer(packages, this);
    connect(packages.data(), &PackageController::list, this,
            &ApplicationContainer::giveKeyboardToFirstCard);
    joinSearch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_topBar);
    layout->addWidget(m_packages);
}

/// Connects the search field in the bar to the list.
void ApplicationContainer::joinSearch()
{
    connect(m_topBar, &TopBar::searched, m_packages, &PackageContainer::search);
    connect(m_topBar, &TopBar::searchConfirmed, m_packages, &PackageContainer::goToFound);
    connect(m_topBar, &TopBar::searchLeft, this, [this] {
        if (!m_packages->focusCardInSight())
            m_topBar->focusRefresh();
    });
    connect(m_packages, &PackageContainer::typed, m_topBar, &TopBar::beginSearch);
    connect(m_packages, &PackageContainer::searchCancelled, m_topBar, &TopBar::endSearch);
    connect(m_packages, &PackageContainer::searchDescribed, m_topBar, &TopBar::describeSearch);
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
