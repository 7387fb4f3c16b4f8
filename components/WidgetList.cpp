#include "components/WidgetList.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStyledItemDelegate>

namespace Kavo::Components {

namespace {

/// The largest list whose widgets are all shown.
constexpr int ShortList = 20;
/// The number of widgets that are deleted without a noticeable delay.
constexpr int DeletedAtOnce = 100;
/// The number of rows above and below the visible area that are shown in a longer list.
constexpr int Margin = 2;
/// The scroll step in pixels; the wheel scrolls three steps.
constexpr int ScrollStep = 32;
/// The length of a turn for deleting more of them, in milliseconds.
constexpr int TurnLength = 8;
/// The delay for the rows in the margin in milliseconds; the visible rows are painted before.
constexpr int MarginDelay = 50;

/// Qt's accessible interface for lists only knows texts, not the widgets of the rows.
QAccessibleInterface *describe(const QString &className, QObject *object)
{
    Q_UNUSED(className)
    auto *list = qobject_cast<WidgetList *>(object);
    return list ? new QAccessibleWidget(list, QAccessible::List) : nullptr;
}

/// If accessibility is active from the start, the constructor of QListWidget creates an accessible
/// interface before the object is a WidgetList, and Qt keeps it. This deletes it, so that it is
/// created again.
void forgetDescription(WidgetList &list)
{
    if (QAccessibleInterface *description = QAccessible::queryAccessibleInterface(&list))
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(description));
}

/// Whether a key enters a visible character and is not a command.
bool isTyping(const QKeyEvent &event)
{
    const auto commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const QString text = event.text();
    return !(event.modifiers() & commands) && !text.isEmpty() && text.at(0).isPrint() &&
           !text.at(0).isSpace();
}

/// Applying the style sheet takes more time and memory than creating the widgets. Qt applies it to
/// every new widget in the next turn of the event loop, or before the widget is shown. This cancels
/// the former.
void postponePolish(QWidget &widget)
{
    QCoreApplication::removePostedEvents(&widget, QEvent::PolishRequest);
    for (QWidget *part : widget.findChildren<QWidget *>())
        QCoreApplication::removePostedEvents(part, QEvent::PolishRequest);
}

} // namespace

/// Passes the widgets of deleted rows to the list; Qt would delete all of them in one turn of the
/// event loop.
class WidgetList::Delegate final : public QStyledItemDelegate
{
public:
    explicit Delegate(WidgetList *list) : QStyledItemDelegate(list), m_list(list) {}

    void destroyEditor(QWidget *editor, const QModelIndex &index) const override
    {
        Q_UNUSED(index)
        m_list->m_retired.append(editor);
        m_list->m_deletion.start();
    }

private:
    WidgetList *m_list;
};

WidgetList::WidgetList(const QString &objectName, QWidget *parent) : QListWidget(parent)
{
    QAccessible::installFactory(describe);
    setObjectName(objectName);
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::NoSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    verticalScrollBar()->setSingleStep(ScrollStep);
    horizontalScrollBar()->setSingleStep(ScrollStep);
    setItemDelegate(new Delegate(this));
    m_further.setSingleShot(true);
    m_further.setInterval(MarginDelay);
    connect(&m_further, &QTimer::timeout, this, &WidgetList::showFurtherRows);
    connect(&m_deletion, &QTimer::timeout, this, &WidgetList::deleteRetired);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *before, QWidget *now) {
        if ((before && isAncestorOf(before)) || (now && isAncestorOf(now)))
            showRows();
    });
    forgetDescription(*this);
}

/// The rows are destroyed after this; changes of focus no longer matter.
WidgetList::~WidgetList()
{
    disconnect(qApp, nullptr, this, nullptr);
}

void WidgetList::appendRow(QWidget *widget, const QSize &size)
{
    appendRow(size);
    setIndexWidget(indexOf(count() - 1), widget);
    // The pending layout hides it if it is far away.
    m_shown.append(count() - 1);
}

void WidgetList::appendRow(const QSize &size)
{
    auto *item = new QListWidgetItem;
    item->setFlags(Qt::ItemIsEnabled);
    item->setSizeHint(size);
    // Receivers of the model's signals may ask for its position.
    m_places.append(size);
    addItem(item);
}

void WidgetList::setRowWidget(int row, QWidget *widget)
{
    // setIndexWidget() shows the widget, but not one that counts as shown already.
    widget->setAttribute(Qt::WA_WState_ExplicitShowHide);
    widget->setAttribute(Qt::WA_WState_Hidden, false);
    setIndexWidget(indexOf(row), widget);
    widget->hide();
    m_unmeasured.insert(row);
    if (!rowsToShow().contains(row)) {
        postponePolish(*widget);
        return;
    }
    place(row);
    if (!m_shown.contains(row))
        m_shown.append(row);
}

void WidgetList::clearRows()
{
    m_retired.reserve(m_retired.size() + count());
    clear();
    // A message box is closed together with the row that owns it.
    for (QWidget *box = QApplication::activeModalWidget(); box; box = box->parentWidget()) {
        if (m_retired.removeOne(box)) {
            delete box;
            break;
        }
    }
    if (m_retired.size() <= DeletedAtOnce) {
        m_deletion.stop();
        deleteRetired();
    }
}

QWidget *WidgetList::rowWidget(int row) const
{
    return indexWidget(indexOf(row));
}

void WidgetList::listRows(const QBitArray &listed)
{
    m_places.list(listed);
    scheduleDelayedItemsLayout();
    // The scroll keys continue from this row.
    if (currentRow() >= 0 && !listed.testBit(currentRow()))
        setCurrentRow(firstRow());
    executeDelayedItemsLayout();
}

QVector<int> WidgetList::visibleRows() const
{
    const auto [first, last] = visiblePlaces();
    return m_places.listed().mid(first, last - first + 1);
}

/// The first and last visible places; the first is greater than the last if none is visible.
std::pair<int, int> WidgetList::visiblePlaces() const
{
    const int top = verticalScrollBar()->value();
    const int bottom = top + viewport()->height();
    const int first = m_places.placeBelow(top);
    int last = first - 1;
    while (last + 1 < m_places.listed().size() && m_places.top(last + 1) < bottom)
        ++last;
    return {first, last};
}

void WidgetList::showRow(const QWidget *widget)
{
    for (int row = 0; row < count(); ++row) {
        if (rowWidget(row) == widget) {
            showRow(row);
            return;
        }
    }
}

bool WidgetList::showKeyboard()
{
    const int row = rowOfKeyboard();
    if (row >= 0)
        showRow(row);
    return row >= 0;
}

void WidgetList::showRow(int row)
{
    setCurrentRow(row);
    scrollToItem(item(row));
}

/// Qt would use its own layout.
QModelIndex WidgetList::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    Q_UNUSED(modifiers)
    const QVector<int> &listed = m_places.listed();
    if (listed.isEmpty())
        return {};
    if (currentRow() < 0)
        return indexOf(listed.first());
    return indexOf(listed.at(qBound(0, placeAfter(action), listed.size() - 1)));
}

/// The place that a key moves to from the current one, possibly beyond the ends.
int WidgetList::placeAfter(CursorAction action) const
{
    const int place = m_places.placeOf(currentRow());
    const auto [first, last] = visiblePlaces();
    const int page = qMax(1, last - first);
    switch (action) {
    case MoveUp:
    case MoveLeft:
    case MovePrevious:
        return place - 1;
    case MoveDown:
    case MoveRight:
    case MoveNext:
        return place + 1;
    case MoveHome:
        return 0;
    case MoveEnd:
        return m_places.listed().size() - 1;
    case MovePageUp:
        return place - page;
    case MovePageDown:
        return place + page;
    }
    return place;
}

void WidgetList::keyPressEvent(QKeyEvent *event)
{
    if (isTyping(*event)) {
        emit typed(event->text());
        return;
    }
    // Qt would treat it as typing.
    if (event->key() == Qt::Key_Escape) {
        event->ignore();
        return;
    }
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

QRect WidgetList::visualRect(const QModelIndex &index) const
{
    if (!index.isValid() || isIndexHidden(index))
        return {};
    const int place = m_places.placeOf(index.row());
    const int width = qMax(m_width, viewport()->width()) - 2 * spacing();
    const int top = m_places.top(place);
    return {spacing() - horizontalScrollBar()->value(), top - verticalScrollBar()->value(), width,
            m_places.bottom(place) - top};
}

QModelIndex WidgetList::indexAt(const QPoint &point) const
{
    const int place = m_places.placeBelow(point.y() + verticalScrollBar()->value());
    const QModelIndex index = indexOf(m_places.listed().value(place, -1));
    return visualRect(index).contains(point) ? index : QModelIndex();
}

void WidgetList::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    Q_UNUSED(hint)
    // The range of the scroll bar ends at the last layout.
    executeDelayedItemsLayout();
    if (!index.isValid() || isIndexHidden(index))
        return;
    const QRect row = visualRect(index).adjusted(0, -spacing(), 0, spacing());
    const int above = row.top();
    const int below = row.top() + row.height() - viewport()->height();
    if (above < 0 || below > 0)
        verticalScrollBar()->setValue(verticalScrollBar()->value() +
                                      (above < 0 ? above : qMin(above, below)));
}

/// There are no items to lay out; the widgets are positioned by their rows.
void WidgetList::doItemsLayout()
{
    updateGeometries();
}

void WidgetList::reset()
{
    m_places.clear();
    m_shown.clear();
    m_unmeasured.clear();
    QListWidget::reset();
}

/// The rows are widgets and paint themselves.
void WidgetList::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
}

void WidgetList::scrollContentsBy(int dx, int dy)
{
    // Qt would move every row.
    Q_UNUSED(dx)
    Q_UNUSED(dy)
    showRows();
}

bool WidgetList::isIndexHidden(const QModelIndex &index) const
{
    return !isListed(index.row());
}

void WidgetList::updateGeometries()
{
    m_places.setSpacing(spacing());
    const QSize size = m_places.size();
    m_width = size.width();
    // Each scroll bar that appears reduces the space of the other.
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, size.height() - viewport()->height());
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setRange(0, size.width() - viewport()->width());
    showRows();
}

void WidgetList::updateEditorGeometries()
{
    // Qt would position every row; hidden rows are positioned when they become visible.
    showRows();
}

/// Adds the rows at these places that exist and are not in the list yet.
void WidgetList::addPlaces(QVector<int> &rows, int first, int last) const
{
    const QVector<int> &listed = m_places.listed();
    for (int place = qMax(first, 0); place <= qMin(last, listed.size() - 1); ++place) {
        if (!rows.contains(listed.at(place)))
            rows.append(listed.at(place));
    }
}

/// The visible rows, and the row with the focus with its neighbours, where Tab goes.
QVector<int> WidgetList::rowsToShowAtOnce() const
{
    if (count() <= ShortList)
        return m_places.listed();
    QVector<int> rows = visibleRows();
    const int focused = rowOfKeyboard();
    if (focused >= 0)
        addPlaces(rows, m_places.placeOf(focused) - 1, m_places.placeOf(focused) + 1);
    return rows;
}

/// The rows above, rows close to the visible area, and both ends of the list, where Tab enters.
QVector<int> WidgetList::rowsToShow() const
{
    QVector<int> rows = rowsToShowAtOnce();
    const auto [first, last] = visiblePlaces();
    addPlaces(rows, first - Margin, last + Margin);
    addPlaces(rows, 0, 0);
    addPlaces(rows, m_places.listed().size() - 1, m_places.listed().size() - 1);
    return rows;
}

/// The row with the focus, -1 if there is none. A hidden row cannot have it.
int WidgetList::rowOfKeyboard() const
{
    const QWidget *focused = QApplication::focusWidget();
    if (!focused || !isAncestorOf(focused))
        return -1;
    for (const int row : m_shown) {
        const QWidget *widget = rowWidget(row);
        if (widget && (widget == focused || widget->isAncestorOf(focused)))
            return row;
    }
    return -1;
}

void WidgetList::showRows()
{
    const QVector<int> before = m_shown;
    const QVector<int> wanted = rowsToShow();
    m_shown = rowsToShowAtOnce();
    for (const int row : wanted) {
        if (before.contains(row) && !m_shown.contains(row))
            m_shown.append(row);
    }
    for (const int row : before) {
        QWidget *widget = rowWidget(row);
        if (widget && !m_shown.contains(row)) {
            widget->hide();
            widget->lower();
        }
    }
    for (const int row : qAsConst(m_shown))
        place(row);
    if (m_shown.size() < wanted.size())
        m_further.start();
}

void WidgetList::showFurtherRows()
{
    m_shown = rowsToShow();
    for (const int row : qAsConst(m_shown))
        place(row);
}

/// Positions and shows the widget of a row.
void WidgetList::place(int row)
{
    QWidget *widget = rowWidget(row);
    if (!widget)
        return;
    if (m_unmeasured.remove(row)) {
        const QSize before = m_places.size(row);
        m_places.setWidth(row, widget->sizeHint().width());
        if (m_places.size(row) != before)
            item(row)->setSizeHint(m_places.size(row));
    }
    widget->setGeometry(visualRect(indexOf(row)));
    if (widget->isHidden())
        putInFront(*widget, row);
    widget->show();
}

/// Before Qt paints a widget, it visits all widgets stacked above it. So hidden rows are kept at
/// the bottom of the stack. Visible rows keep their order, which is the order for screen readers.
void WidgetList::putInFront(QWidget &widget, int row)
{
    int next = count();
    for (const int other : qAsConst(m_shown)) {
        if (other > row && other < next && rowWidget(other) && !rowWidget(other)->isHidden())
            next = other;
    }
    if (next < count())
        widget.stackUnder(rowWidget(next));
    else
        widget.raise();
}

void WidgetList::deleteRetired()
{
    QElapsedTimer turn;
    turn.start();
    const bool inTurns = m_deletion.isActive();
    while (!m_retired.isEmpty() && (!inTurns || turn.elapsed() < TurnLength))
        delete m_retired.takeLast();
    if (m_retired.isEmpty())
        m_deletion.stop();
}

void WidgetList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    // The focus is in a widget of the row; Qt would report to screen readers that it is in the
    // list.
    Q_UNUSED(current)
    Q_UNUSED(previous)
}

} // namespace Kavo::Components
