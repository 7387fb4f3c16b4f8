#include "ui/PackageContainer.h"

#include "core/Settings.h"
#include "packages/PackageController.h"
#include "ui/PackageDetailWidget.h"
#include "ui/PackageProcessingWidget.h"
#include "ui/PackageSidebar.h"
#include "ui/PackageWidget.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QListWidget>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Controllers::PackageController;
using Models::PackagePointer;

namespace {

constexpr int RowHeight = 128;
constexpr int RowSpacing = 4;
constexpr int ScrollStep = 32;
constexpr int ContentStretch = 8;

} // namespace

PackageContainer::PackageContainer(const QSharedPointer<PackageController> &controller,
                                   QWidget *parent)
    : StyledWidget(QStringLiteral("PackageContainer"), parent)
    , m_controller(controller)
    , m_list(new QListWidget(this))
    , m_detail(new PackageDetailWidget(controller, this))
    , m_processing(new PackageProcessingWidget(this))
    , m_sidebar(new PackageSidebar(controller, this))
{
    followController();
    build();
    m_sidebar->setVisible(m_controller->settings()->showsFilter());
    m_controller->refresh();
}

void PackageContainer::followController()
{
    const PackageController *controller = m_controller.data();
    connect(controller, &PackageController::update, this, &PackageContainer::rebuildList);
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
    m_list->setObjectName(QStringLiteral("PackageList"));
    m_list->setAccessibleName(tr("Packages"));
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->verticalScrollBar()->setSingleStep(ScrollStep);
    m_list->setSpacing(RowSpacing);
    m_list->hide();
}

void PackageContainer::rebuildList()
{
    // Every row that is added to a visible list has it laid out anew.
    const bool shown = !m_list->isHidden();
    m_list->hide();
    clearRows();
    const int count = m_controller->packages().size();
    for (int row = 0; row < count; ++row) {
        addRow();
        buildCard(row);
    }
    m_list->setVisible(shown);
}

void PackageContainer::clearRows()
{
    for (int row = 0; row < m_list->count(); ++row)
        delete m_list->indexWidget(m_list->model()->index(row, 0));
    m_list->clear();
}

void PackageContainer::addRow()
{
    auto *item = new QListWidgetItem;
    item->setFlags(Qt::ItemIsEnabled);
    m_list->addItem(item);
}

void PackageContainer::buildCard(int row)
{
    const PackagePointer package = m_controller->packages().at(row);
    auto *card = new PackageWidget(m_controller, package, m_list);
    m_list->setIndexWidget(m_list->model()->index(row, 0), card);
    m_list->item(row)->setSizeHint(QSize(card->sizeHint().width(), RowHeight));
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
    m_list->show();
    if (m_focusInList)
        m_focusInList->setFocus();
    m_focusInList.clear();
    m_detail->hide();
    m_sidebar->setVisible(m_controller->settings()->showsFilter());
    m_processing->setMode(PackageProcessingWidget::HiddenMode);
}

void PackageContainer::showError(const QString &message)
{
    hideContent();
    m_processing->setError(message);
}

void PackageContainer::showDetail(const PackagePointer &package)
{
    m_focusInList = QApplication::focusWidget();
    m_list->hide();
    m_sidebar->hide();
    m_processing->setMode(PackageProcessingWidget::HiddenMode);
    m_detail->setPackage(package);
}

void PackageContainer::hideContent()
{
    m_list->hide();
    m_detail->hide();
    m_sidebar->hide();
}

} // namespace Kavo::Ui
