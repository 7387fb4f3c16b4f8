#include "ui/window/PackageContainer.h"

#include "components/FocusScrolling.h"
#include "components/WidgetList.h"
#include "core/Settings.h"
#include "packages/PackageController.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageCards.h"
#include "ui/list/PackageFilter.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/window/PackageSidebar.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLocale>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Components::WidgetList;
using Controllers::PackageController;
using Models::PackagePointer;

namespace {

constexpr int RowSpacing = 4;
constexpr int ContentStretch = 8;
/// Wider lines are hard to read, and a card's button would be far from its name.
constexpr int ContentWidth = 1200;

} // namespace

PackageContainer::PackageContainer(const QSharedPointer<PackageController> &controller,
                                   QWidget *parent)
    : StyledWidget(QStringLiteral("PackageContainer"), parent)
    , m_controller(controller)
    , m_list(new WidgetList(QStringLiteral("PackageList"), this))
    , m_cards(new PackageCards(m_list, controller, this))
    , m_detail(new PackageDetailWidget(controller, this))
    , m_processing(new PackageProcessingWidget(this))
    , m_sidebar(new PackageSidebar(controller, this))
    , m_filter(new PackageFilter(this))
{
    followController();
    followFilter();
    build();
    m_sidebar->setVisible(m_controller->settings()->showsFilter());
    Components::scrollToFocus(*this);
    m_controller->refresh();
}

void PackageContainer::focusFirstCard()
{
    if (PackageWidget *card = m_cards->firstCard())
        card->focusDetailButton();
}

bool PackageContainer::focusCardInSight()
{
    PackageWidget *card = m_list->isVisible() ? m_cards->firstCardInSight() : nullptr;
    if (card)
        card->focusDetailButton();
    return card;
}

void PackageContainer::search(const QString &text)
{
    if (!m_filter->isActive())
        m_scrollBefore = m_list->verticalScrollBar()->value();
    m_filter->search(text);
    // A search result is shown from its first card, and never at another position before.
    if (m_filter->isActive())
        m_list->scrollToTop();
    listFound();
    if (!m_filter->isActive())
        returnToPlace();
    if (m_detail->isVisible())
        m_controller->showList();
}

void PackageContainer::goToFound()
{
    if (m_detail->isVisible())
        m_controller->showList();
    if (m_list->isVisible())
        focusFirstCard();
}

void PackageContainer::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && m_filter->isActive() && m_showsList)
        emit searchCancelled();
    else
        StyledWidget::keyPressEvent(event);
}

void PackageContainer::followController()
{
    const PackageController *controller = m_controller.data();
    connect(controller, &PackageController::update, this, &PackageContainer::rebuild);
    connect(controller, &PackageController::busy, this, &PackageContainer::showBusy);
    connect(controller, &PackageController::empty, this, &PackageContainer::showEmpty);
    connect(controller, &PackageController::list, this, &PackageContainer::showList);
    connect(controller, &PackageController::error, this, &PackageContainer::showError);
    connect(controller, &PackageController::detail, this, &PackageContainer::showDetail);
}

void PackageContainer::followFilter()
{
    connect(m_filter, &PackageFilter::advanced, this, &PackageContainer::listFound);
    // The cards have priority, because most people scroll before they search.
    connect(m_cards, &PackageCards::complete, m_filter, &PackageFilter::prepare);
    connect(m_list, &WidgetList::typed, this, &PackageContainer::typed);
}

void PackageContainer::build()
{
    buildList();
    m_detail->hide();

    auto *column = new QVBoxLayout;
    for (QWidget *content : {static_cast<QWidget *>(m_list), static_cast<QWidget *>(m_detail),
                             static_cast<QWidget *>(m_processing)}) {
        content->setMaximumWidth(ContentWidth);
        column->addWidget(content);
    }

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(8);
    layout->addStretch(1);
    layout->addWidget(m_sidebar);
    layout->addLayout(column, ContentStretch);
    layout->addStretch(1);
}

void PackageContainer::buildList()
{
    m_list->setAccessibleName(tr("Packages"));
    m_list->setSpacing(RowSpacing);
    m_list->hide();
}

void PackageContainer::rebuild()
{
    m_filter->setPackages(m_controller->packages());
    m_cards->rebuild();
    if (m_filter->isActive())
        listFound();
}

void PackageContainer::showBusy()
{
    hideContent();
    m_processing->setMode(PackageProcessingWidget::BusyMode);
}

void PackageContainer::showEmpty()
{
    hideContent();
    m_processing->setMode(PackageProcessingWidget::EmptyMode);
}

void PackageContainer::showList()
{
    const bool isLeft = hasFocusIn(*m_detail);
    PackageWidget *opened = isLeft ? m_cards->cardOf(m_openedId) : nullptr;
    // Otherwise Qt would move the focus of a hidden widget to an arbitrary one.
    if (isLeft)
        window()->focusWidget()->clearFocus();
    m_detail->hide();
    m_showsList = true;
    showListOrNothing();
    if (opened)
        opened->focusDetailButton();
}

void PackageContainer::showError(const QString &message)
{
    hideContent();
    m_processing->setError(message);
}

void PackageContainer::showDetail(const PackagePointer &package)
{
    if (package)
        m_openedId = package->id();
    m_showsList = false;
    m_list->hide();
    m_sidebar->hide();
    m_processing->setMode(PackageProcessingWidget::HiddenMode);
    m_detail->setPackage(package);
}

void PackageContainer::listFound()
{
    m_cards->list(m_filter->found());
    if (m_showsList)
        showListOrNothing();
    describeSearch();
}

/// The panel is for searches without a result. An empty catalogue is shown as an empty list.
void PackageContainer::showListOrNothing()
{
    const bool nothing =
        m_filter->isActive() && m_filter->isComplete() && m_filter->foundCount() == 0;
    m_sidebar->setVisible(!nothing && m_controller->settings()->showsFilter());
    m_processing->setMode(nothing ? PackageProcessingWidget::EmptyMode
                                  : PackageProcessingWidget::HiddenMode);
    m_list->setVisible(!nothing);
}

/// Without a search the list returns to its former position, or to the card with the focus.
void PackageContainer::returnToPlace()
{
    if (!m_list->showKeyboard())
        m_list->verticalScrollBar()->setValue(m_scrollBefore);
}

void PackageContainer::describeSearch()
{
    const QLocale locale;
    const QString result = !m_filter->isActive()
                               ? QString()
                               : tr("%1 of %2 packages")
                                     .arg(locale.toString(m_filter->foundCount()),
                                          locale.toString(m_filter->found().size()));
    m_list->setAccessibleDescription(result);
    emit searchDescribed(result);
}

bool PackageContainer::hasFocusIn(const QWidget &part) const
{
    const QWidget *focused = window()->focusWidget();
    return focused && part.isAncestorOf(focused);
}

void PackageContainer::hideContent()
{
    m_showsList = false;
    m_list->hide();
    m_detail->hide();
    m_sidebar->hide();
}

} // namespace Kavo::Ui
