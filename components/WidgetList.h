#pragma once

#include <QListWidget>

namespace Kavo::Components {

/// A list whose rows are widgets. The rows take the keyboard, not the list, and they are what a
/// screen reader finds in it. The keys that scroll move the keyboard to another row.
class WidgetList : public QListWidget
{
    Q_OBJECT

public:
    explicit WidgetList(const QString &objectName, QWidget *parent = nullptr);

    /// Takes the widget over and makes it the last row.
    void appendRow(QWidget *widget, const QSize &size);
    /// Deletes all rows with their widgets.
    void clearRows();
    QWidget *rowWidget(int row) const;

    /// Scrolls the row with this widget into view; it is the one that the keys move on from.
    void showRow(const QWidget *widget);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
};

} // namespace Kavo::Components
