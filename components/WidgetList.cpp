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
    auto *item = new QListWidgetItem;
    item->setFlags(Qt::ItemIsEnabled);
    item->setSizeHint(size);
    addItem(item);
    setIndexWidget(model()->index(count() - 1, 0), widget);
}

void WidgetList::clearRows()
{
    for (int row = 0; row < count(); ++row)
        delete rowWidget(row);
    clear();
}

QWidget *WidgetList::rowWidget(int row) const
{
    return indexWidget(model()->index(row, 0));
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
    const auto parts = rowWidget(currentRow())->findChildren<QWidget *>();
    for (QWidget *part : parts) {
        if (part->isEnabled() && part->focusPolicy() != Qt::NoFocus) {
            part->setFocus(Qt::OtherFocusReason);
            return;
        }
    }
}

void WidgetList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    // The keyboard is in a row's widget, and Qt would tell screen readers that it is in the list.
    Q_UNUSED(current)
    Q_UNUSED(previous)
}

} // namespace Kavo::Components
