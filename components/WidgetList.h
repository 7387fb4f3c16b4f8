#pragma once

#include "components/RowPlaces.h"

#include <QBitArray>
#include <QListWidget>
#include <QSet>
#include <QTimer>
#include <QVector>

#include <utility>

namespace Kavo::Components {

/// A list whose rows are widgets. The rows get the focus instead of the list, and screen readers
/// see the rows. The keys that scroll move the focus to another row.
///
/// The list may hold thousands of rows: a row may exist before its widget, and the frequent
/// operations (adding a widget, scrolling, resizing) take no longer in a long list than in a short
/// one. For this the list positions its rows itself, because Qt would visit all of them. A long
/// list hides widgets that are far outside the visible area, except where Tab could go next; ask
/// the list whether a row is listed, not the widget whether it is visible. Widgets that become
/// visible are shown immediately, those near them shortly after.
///
/// Two details rely on the behaviour of Qt 5.15.8 and not on its documentation, because there is no
/// public alternative: setIndexWidget() does not show a widget that counts as shown (setRowWidget),
/// and a new widget is polished by a posted event that can be removed (postponePolish). If another
/// version of Qt behaves differently, WidgetListTest::rowsFarAwayAreStyledWhenTheyComeIntoSight
/// fails.
class WidgetList : public QListWidget
{
    Q_OBJECT

public:
    explicit WidgetList(const QString &objectName, QWidget *parent = nullptr);
    ~WidgetList() override;

    /// Appends a row with this widget and takes ownership.
    void appendRow(QWidget *widget, const QSize &size);
    /// Appends an empty row for a later widget.
    void appendRow(const QSize &size);
    /// Sets the widget of an empty row and takes ownership; a child of the viewport is quickest.
    /// When the row becomes visible, it gets the width of the widget's size hint but keeps its
    /// height.
    void setRowWidget(int row, QWidget *widget);
    /// Deletes all rows with their widgets. Many widgets are hidden immediately and deleted in
    /// short turns of the event loop.
    void clearRows();
    /// The widget of a row, null while the row is empty.
    QWidget *rowWidget(int row) const;
    /// Shows only the rows whose bit is set, one after another, and keeps the others with their
    /// widgets. There is a bit for every row; a row that is added later is listed. Qt's own
    /// functions for hiding rows have no effect.
    void listRows(const QBitArray &listed);
    bool isListed(int row) const { return m_places.isListed(row); }
    /// The first listed row, -1 if there is none.
    int firstRow() const { return m_places.listed().value(0, -1); }
    /// The rows that are at least partly visible, from top to bottom.
    QVector<int> visibleRows() const;

    /// Scrolls the row with this widget into view and makes it the current row.
    void showRow(const QWidget *widget);
    /// Scrolls the row with the focus into view and returns whether there is one.
    bool showKeyboard();

    QRect visualRect(const QModelIndex &index) const override;
    QModelIndex indexAt(const QPoint &point) const override;
    /// Scrolls only as far as needed to show the whole row; ignores the hint.
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    void doItemsLayout() override;
    void reset() override;

signals:
    /// The focus should move to an empty row; a receiver that sets its widget immediately gives it
    /// the focus.
    void rowNeeded(int row);
    /// A character was typed while a row had the focus.
    void typed(const QString &text);

protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool isIndexHidden(const QModelIndex &index) const override;
    void updateGeometries() override;
    void updateEditorGeometries() override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;

private:
    class Delegate;

    QModelIndex indexOf(int row) const { return model()->index(row, 0); }
    std::pair<int, int> visiblePlaces() const;
    int placeAfter(CursorAction action) const;
    QVector<int> rowsToShowAtOnce() const;
    QVector<int> rowsToShow() const;
    void addPlaces(QVector<int> &rows, int first, int last) const;
    int rowOfKeyboard() const;
    void showRow(int row);
    void showRows();
    void showFurtherRows();
    void place(int row);
    void putInFront(QWidget &widget, int row);
    void deleteRetired();

    RowPlaces m_places;
    int m_width = 0;              ///< width of the widest row including spacing
    QVector<int> m_shown;         ///< rows whose widgets are not hidden
    QSet<int> m_unmeasured;       ///< rows whose widgets were never shown
    QVector<QWidget *> m_retired; ///< widgets of deleted rows
    QTimer m_further;
    QTimer m_deletion;
};

} // namespace Kavo::Components
