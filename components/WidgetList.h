#pragma once

#include "components/RowPlaces.h"

#include <QBitArray>
#include <QListWidget>
#include <QSet>
#include <QTimer>
#include <QVector>

#include <utility>

namespace Kavo::Components {

/// A list whose rows are widgets. The rows take the keyboard, not the list, and they are what a
/// screen reader finds in it. The keys that scroll move the keyboard to another row.
///
/// It may hold thousands of rows: a row can stand before its widget is there, and what happens
/// often (a widget that comes, a step of scrolling, a new width) costs no more for a long list than
/// for a short one. To that end the list places its rows itself, where Qt would look at each of
/// them, and a long one hides widgets far from what is to be seen, unless Tab could go there; who
/// wants to know whether a row could be seen asks the list. What comes into sight is shown at once,
/// and the rows near to it shortly after.
///
/// Two things here go by what Qt 5.15.8 does and not by what it promises, since it has no public
/// way for them: setIndexWidget() does not show a widget that counts as shown (setRowWidget), and a
/// new widget is polished by an event that can be taken back (postponePolish). Should another Qt do
/// either differently, WidgetListTest::rowsFarAwayAreStyledWhenTheyComeIntoSight fails.
class WidgetList : public QListWidget
{
    Q_OBJECT

public:
    explicit WidgetList(const QString &objectName, QWidget *parent = nullptr);
    ~WidgetList() override;

    /// Takes the widget over and makes it the last row.
    void appendRow(QWidget *widget, const QSize &size);
    /// An empty last row, for a widget that comes later.
    void appendRow(const QSize &size);
    /// Takes the widget of an empty row over, which best is a child of the viewport already. When
    /// the row comes into sight it gets the width that the widget asks for, but keeps its height.
    void setRowWidget(int row, QWidget *widget);
    /// Deletes all rows with their widgets. Many widgets are hidden at once and deleted in short
    /// turns of the event loop.
    void clearRows();
    /// Null while the row is empty.
    QWidget *rowWidget(int row) const;
    /// Lists only the rows whose bit is set, which are one after another then, and keeps the others
    /// with their widgets. There is a bit for every row; a row that comes later is listed. Qt's own
    /// hiding of rows has no effect.
    void listRows(const QBitArray &listed);
    bool isListed(int row) const { return m_places.isListed(row); }
    /// The first row that is listed, -1 without one.
    int firstRow() const { return m_places.listed().value(0, -1); }
    /// The rows of which something is to be seen, from the top to the bottom.
    QVector<int> visibleRows() const;

    /// Scrolls the row with this widget into view; it is the one that the keys move on from.
    void showRow(const QWidget *widget);
    /// The same for the row with the keyboard, and tells whether one has it.
    bool showKeyboard();

    QRect visualRect(const QModelIndex &index) const override;
    QModelIndex indexAt(const QPoint &point) const override;
    /// Scrolls no further than to have all of the row in sight, whatever the hint says.
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    void doItemsLayout() override;
    void reset() override;

signals:
    /// The keyboard goes to an empty row; who fills it at once gets it there.
    void rowNeeded(int row);
    /// Somebody types while a row has the keyboard.
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
    int m_width = 0;              ///< of the widest row, with the spacing around it
    QVector<int> m_shown;         ///< rows whose widgets are not hidden
    QSet<int> m_unmeasured;       ///< rows whose widgets were never shown
    QVector<QWidget *> m_retired; ///< widgets of rows that are gone
    QTimer m_further;
    QTimer m_deletion;
};

} // namespace Kavo::Components
