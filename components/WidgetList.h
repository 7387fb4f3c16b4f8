#pragma once

#include <QListWidget>

#include <utility>

namespace Kavo::Components {

/// A list whose rows are widgets. The rows take the keyboard, not the list, and they are what a
/// screen reader finds in it. The keys that scroll move the keyboard to another row.
///
/// It may hold thousands of rows: a row can stand before its widget is there, and what happens
/// often (a widget that comes, a step of scrolling, a new width) costs no more for a long list than
/// for a short one.
class WidgetList : public QListWidget
{
    Q_OBJECT

public:
    explicit WidgetList(const QString &objectName, QWidget *parent = nullptr);

    /// Takes the widget over and makes it the last row.
    void appendRow(QWidget *widget, const QSize &size);
    /// An empty last row, for a widget that comes later.
    void appendRow(const QSize &size);
    /// Takes the widget of an empty row over. The row may get wider, but not higher.
    void setRowWidget(int row, QWidget *widget, const QSize &size);
    /// Deletes all rows with their widgets.
    void clearRows();
    /// Null while the row is empty.
    QWidget *rowWidget(int row) const;
    /// The rows of which something is to be seen; an empty range, first above last, without rows.
    std::pair<int, int> visibleRows() const;

    /// Scrolls the row with this widget into view; it is the one that the keys move on from.
    void showRow(const QWidget *widget);

    void doItemsLayout() override;

signals:
    /// The keyboard goes to an empty row; who fills it at once gets it there.
    void rowNeeded(int row);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void updateEditorGeometries() override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;

private:
    QModelIndex indexOf(int row) const { return model()->index(row, 0); }
    void placeVisibleRows();

    bool m_rowsStand = false;
    bool m_layingOut = false;
};

} // namespace Kavo::Components
