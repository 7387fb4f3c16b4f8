#include "components/WidgetList.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStyledItemDelegate>

namespace Kavo::Components {

namespace {

/// The most rows of which all widgets are always shown.
constexpr int ShortList = 20;
/// So many widgets are deleted faster than anybody sees.
constexpr int DeletedAtOnce = 100;
/// Rows beyond those in sight that are shown in a longer list.
constexpr int Margin = 2;
/// Pixels that an arrow of a scroll bar moves; the wheel moves by three of them.
constexpr int ScrollStep = 32;
/// Milliseconds of a turn in which further ones are.
constexpr int TurnLength = 8;
/// Milliseconds until the rows in the margin are shown: what is in sight is painted by then.
constexpr int MarginDelay = 50;

/// Qt's own description of a list knows texts only and leaves the widgets of the rows out.
QAccessibleInterface *describe(const QString &className, QObject *object)
{
    Q_UNUSED(className)
    auto *list = qobject_cast<WidgetList *>(object);
    return list ? new QAccessibleWidget(list, QAccessible::List) : nullptr;
}

/// Where accessibility is on from the start, QListWidget's constructor has its object described
/// before it is a WidgetList, and Qt keeps that description. This has it described anew.
void forgetDescription(WidgetList &list)
{
    if (QAccessibleInterface *description = QAccessible::queryAccessibleInterface(&list))
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(description));
}

/// Whether a key writes a character that can be seen, rather than doing something.
bool isTyping(const QKeyEvent &event)
{
    const auto commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const QString text = event.text();
    return !(event.modifiers() & commands) && !text.isEmpty() && text.at(0).isPrint() &&
           !text.at(0).isSpace();
}

/// The style sheet takes more time and memory than the widgets themselves. Qt has it applied to
/// every new widget in the next turn of the event loop, and in any case before the widget is shown;
/// this leaves the latter.
void postponePolish(QWidget &widget)
{
    QCoreApplication::removePostedEvents(&widget, QEvent::PolishRequest);
    for (QWidget *part : widget.findChildren<QWidget *>())
        QCoreApplication::removePostedEvents(part, QEvent::PolishRequest);
}

} // namespace

/// Hands the widgets of rows that go to the list; Qt would delete all of them in one turn of the
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

/// Its rows go after it; the keyboard that one of them loses then is none of its business.
WidgetList::~WidgetList()
{
    disconnect(qApp, nullptr, this, nullptr);
}

void WidgetList::appendRow(QWidget *widget, const QSize &size)
{
    appendRow(size);
    setIndexWidget(indexOf(count() - 1), widget);
    // The layout that is due hides it if it is not near.
    m_shown.append(count() - 1);
}

void WidgetList::appendRow(const QSize &size)
{
    auto *item = new QListWidgetItem;
    item->setFlags(Qt::ItemIsEnabled);
    item->setSizeHint(size);
    // Whoever hears of the item may ask where it stands.
    m_places.append(size);
    addItem(item);
}

void WidgetList::setRowWidget(int row, QWidget *widget)
{
    // Qt shows the widget of a row at once, but not one that it takes for shown already.
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
    // A question goes with the row that asks it.
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
    // The keys that scroll go on from this row.
    if (currentRow() >= 0 && !listed.testBit(currentRow()))
        setCurrentRow(firstRow());
    executeDelayedItemsLayout();
}

QVector<int> WidgetList::visibleRows() const
{
    const auto [first, last] = visiblePlaces();
    return m_places.listed().mid(first, last - first + 1);
}

/// First and last of the places in the list that are in sight; the first is above the last when
/// none is.
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

/// Qt goes by its own places.
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

/// The place to which a key moves from the current one, be it beyond the ends.
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
    // Qt would take it for typing.
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
    // The scroll bar goes no further than to what was laid out.
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

/// There are no items to lay out: their widgets stand in the places of the rows.
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

/// The rows are widgets, and paint themselves.
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
    // The one that comes takes room from the other.
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, size.height() - viewport()->height());
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setRange(0, size.width() - viewport()->width());
    showRows();
}

void WidgetList::updateEditorGeometries()
{
    // Qt would place every row; those out of sight are placed when they come into sight.
    showRows();
}

/// Adds the rows at these places, if there are such places, that are not among them yet.
void WidgetList::addPlaces(QVector<int> &rows, int first, int last) const
{
    const QVector<int> &listed = m_places.listed();
    for (int place = qMax(first, 0); place <= qMin(last, listed.size() - 1); ++place) {
        if (!rows.contains(listed.at(place)))
            rows.append(listed.at(place));
    }
}

/// Rows in sight, and the one with the keyboard with those beside it, where Tab goes.
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

/// Those, rows close to what is in sight, and the ends of the list, where Tab goes from elsewhere.
QVector<int> WidgetList::rowsToShow() const
{
    QVector<int> rows = rowsToShowAtOnce();
    const auto [first, last] = visiblePlaces();
    addPlaces(rows, first - Margin, last + Margin);
    addPlaces(rows, 0, 0);
    addPlaces(rows, m_places.listed().size() - 1, m_places.listed().size() - 1);
    return rows;
}

/// The row with the keyboard, -1 for none. A hidden one cannot have it.
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

/// Shows the widget of a row in its place.
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

/// Before it paints a widget, Qt looks at all widgets in front of it, and at each part of it anew.
/// Those that are hidden are left behind for that. Rows that are shown keep their order, in which a
/// screen reader finds them.
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
    // The keyboard is in a row's widget, and Qt would tell screen readers that it is in the list.
    Q_UNUSED(current)
    Q_UNUSED(previous)
}

} // namespace Kavo::Components
