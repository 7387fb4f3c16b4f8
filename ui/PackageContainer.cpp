#include "ui/PackageContainer.h"

#include "components/FocusScrolling.h"
#include "components/WidgetList.h"
#include "core/Settings.h"
#include "packages/PackageController.h"
#include "ui/PackageCards.h"
#include "ui/PackageDetailWidget.h"
#include "ui/PackageProcessingWidget.h"
#include "ui/PackageSidebar.h"
#include "ui/PackageWidget.h"

#include <QHBoxLayout>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Components::WidgetList;
using Controllers::PackageController;
using Models::PackagePointer;

namespace {

constexpr int RowSpacing = 4;
constexpr int ScrollStep = 32;
constexpr int ContentStretch = 8;

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
{
    followController();
    build();
    m_sidebar->setVisible(m_controller->settings()->showsFilter());
    Components::scrollToFocus(*this);
    m_controller->refresh();
}

void PackageContainer::focusFirstCard()
{
    if (auto *card = qobject_cast<PackageWidget *>(m_list->rowWidget(0)))
        card->focusDetailButton();
}

void PackageContainer::followController()
{
    const PackageController *controller = m_controller.data();
    connect(controller, &PackageController::update, m_cards, &PackageCards::rebuild);
    connect(controller, &PackageController::busy, this, &PackageContainer::showBusy);
    connect(controller, &PackageController::empty, this, &PackageContainer::showEmpty);
    connect(controller, &PackageController::list, this, &PackageContainer::showList);
    connect(controller, &PackageController::error, this, &PackageContainer::showError);
    connect(controller, &PackageController::detail, this, &PackageContainer::showDetail);
}

void PackageContainer::build()
{
    buildList();
    m_detail->hide();

    auto *column = new QVBoxLayout;
    column->addWidget(m_list);
    column->addWidget(m_detail);
    column->addWidget(m_processing);

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
    m_list->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->verticalScrollBar()->setSingleStep(ScrollStep);
    m_list->setSpacing(RowSpacing);
    m_list->hide();
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
    // What has the keyboard when it is hidden would give it to the next best widget.
    if (isLeft)
        window()->focusWidget()->clearFocus();
    m_detail->hide();
    m_sidebar->setVisible(m_controller->settings()->showsFilter());
    m_processing->setMode(PackageProcessingWidget::HiddenMode);
    m_list->show();
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
    m_list->hide();
    m_sidebar->hide();
    m_processing->setMode(PackageProcessingWidget::HiddenMode);
    m_detail->setPackage(package);
}

bool PackageContainer::hasFocusIn(const QWidget &part) const
{
    const QWidget *focused = window()->focusWidget();
    return focused && part.isAncestorOf(focused);
}

void PackageContainer::hideContent()
{
    m_list->hide();
    m_detail->hide();
    m_sidebar->hide();
}

} // namespace Kavo::Ui
