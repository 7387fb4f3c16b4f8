#include "components/WidgetList.h"

#include <QAccessibleWidget>

namespace Kavo::Components {

namespace {

/// Qt's own description of a list knows texts only and leaves the widgets of the rows out.
QAccessibleInterface *describe(const QString &className, QObject *object)
{
    Q_UNUSED(className)
    auto *list = qobject_cast<WidgetList *>(object);
    return list ? new QAccessibleWidget(list, QAccessible::List) : nullptr;
}

} // namespace

WidgetList::WidgetList(const QString &objectName, QWidget *parent) : QListWidget(parent)
{
    QAccessible::installFactory(describe);
    setObjectName(objectName);
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::NoSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
}

void WidgetList::appendRow(QWidget *widget, const QSize &size)
{
    appendRow(size);
    setIndexWidget(indexOf(count() - 1), widget);
}

void WidgetList::appendRow(const QSize &size)
{
    auto *item = new QListWidgetItem;
    item->setFlags(Qt::ItemIsEnabled);
    item->setSizeHint(size);
    addItem(item);
}

void WidgetList::setRowWidget(int row, QWidget *widget, const QSize &size)
{
    // What is due is laid out now; the widget then needs no more than its own place, where Qt would
    // lay out all rows anew.
    executeDelayedItemsLayout();
    m_rowsStand = true;
    item(row)->setSizeHint(size);
    setIndexWidget(indexOf(row), widget);
    executeDelayedItemsLayout();
    m_rowsStand = false;
    widget->setGeometry(visualRect(indexOf(row)));
}

void WidgetList::clearRows()
{
    for (int row = 0; row < count(); ++row)
        delete rowWidget(row);
    clear();
}

QWidget *WidgetList::rowWidget(int row) const
{
    return indexWidget(indexOf(row));
}

std::pair<int, int> WidgetList::visibleRows() const
{
    int first = 0;
    int behind = count();
    while (first < behind) {
        const int middle = first + (behind - first) / 2;
        if (visualRect(indexOf(middle)).bottom() < 0)
            first = middle + 1;
        else
            behind = middle;
    }
    int last = first - 1;
    while (last + 1 < count() && visualRect(indexOf(last + 1)).top() < viewport()->height())
        ++last;
    return {first, last};
}

void WidgetList::showRow(const QWidget *widget)
{
    for (int row = 0; row < count(); ++row) {
        if (rowWidget(row) == widget) {
            setCurrentRow(row);
            scrollToItem(item(row));
            return;
        }
    }
}

void WidgetList::keyPressEvent(QKeyEvent *event)
{
    const int before = currentRow();
    QListWidget::keyPressEvent(event);
    if (currentRow() == before || currentRow() < 0)
        return;
    if (!rowWidget(currentRow()))
        emit rowNeeded(currentRow());
    const QWidget *row = rowWidget(currentRow());
    if (!row)
        return;
    const auto parts = row->findChildren<QWidget *>();
    for (QWidget *part : parts) {
        if (part->isEnabled() && part->focusPolicy() != Qt::NoFocus) {
            part->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
}

void WidgetList::doItemsLayout()
{
    if (m_rowsStand)
        return;
    m_layingOut = true;
    QListWidget::doItemsLayout();
    m_layingOut = false;
}

void WidgetList::scrollContentsBy(int dx, int dy)
{
    QListWidget::scrollContentsBy(dx, dy);
    placeVisibleRows();
}

void WidgetList::updateEditorGeometries()
{
    // Rows out of sight keep a width that is out of date until they come into sight.
    if (m_layingOut)
        QListWidget::updateEditorGeometries();
    else
        placeVisibleRows();
}

void WidgetList::placeVisibleRows()
{
    const auto [first, last] = visibleRows();
    for (int row = first; row <= last; ++row) {
        if (QWidget *widget = rowWidget(row))
            widget->setGeometry(visualRect(indexOf(row)));
    }
}

void WidgetList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    // The keyboard is in a row's widget, and Qt would tell screen readers that it is in the list.
    Q_UNUSED(current)
    Q_UNUSED(previous)
}

} // namespace Kavo::Components
