#include "ui/detail/FittingTabs.h"

#include <QListView>
#include <QScrollArea>
#include <QStyleOptionTabWidgetFrame>
#include <QTabBar>

namespace Kavo::Ui {

namespace {

/// The minimum height of a page, so that an empty one still looks like a page.
constexpr int SmallestPage = 48;

int heightOfWidget(const QWidget &widget, int width)
{
    return widget.hasHeightForWidth() ? widget.heightForWidth(width) : widget.sizeHint().height();
}

/// The height of all rows, or of as many as exceed any possible limit.
int heightOfRows(const QListView &list, int enough)
{
    int height = 0;
    for (int row = 0; row < list.model()->rowCount() && height < enough; ++row)
        height += list.sizeHintForRow(row) + 2 * list.spacing();
    return height;
}

} // namespace

FittingTabs::FittingTabs(QWidget *parent) : QTabWidget(parent)
{
    connect(this, &QTabWidget::currentChanged, this, &FittingTabs::fit);
}

void FittingTabs::fit()
{
    updateGeometry();
}

void FittingTabs::setLargestPage(int height)
{
    if (m_largestPage == height)
        return;
    m_largestPage = height;
    fit();
}

int FittingTabs::heightForWidth(int width) const
{
    const int frame = framed(QSize(0, 0)).width();
    const int content = contentHeight(width - frame);
    return framed({width, qBound(SmallestPage, content, qMax(SmallestPage, m_largestPage))})
        .height();
}

/// The size of the tab widget for a page of this size.
QSize FittingTabs::framed(const QSize &page) const
{
    QStyleOptionTabWidgetFrame option;
    initStyleOption(&option);
    const QSize content(page.width(), page.height() + tabBar()->sizeHint().height());
    return style()->sizeFromContents(QStyle::CT_TabWidget, &option, content, this);
}

int FittingTabs::contentHeight(int width) const
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(currentWidget());
    if (!area)
        return 0;
    // Frame, padding and the space for the scroll bar.
    const QSize lost = area->size() - area->maximumViewportSize();
    if (const auto *list = qobject_cast<const QListView *>(area))
        return lost.height() + heightOfRows(*list, m_largestPage);
    const auto *scroll = qobject_cast<const QScrollArea *>(area);
    const QWidget *content = scroll ? scroll->widget() : nullptr;
    return content ? lost.height() + heightOfWidget(*content, width - lost.width()) : 0;
}

} // namespace Kavo::Ui
