#include "components/WidgetList.h"
#include "components/Buttons.h"
#include "components/FocusScrolling.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"

#include <QDialog>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Components;

namespace {

constexpr QSize RowSize(200, 50);
/// The most rows that are all shown.
constexpr int Short = 20;
constexpr int Long = 130;

} // namespace

/// The list of widgets, and that what has the keyboard is scrolled into view.
class WidgetListTest final : public QObject
{
    Q_OBJECT

private slots:
    void rowsHoldWidgets();
    void clearingDeletesTheWidgets();
    void rowsTakeTheKeyboardInTheirOrder();
    void keyboardInARowScrollsTheList();
    void keyboardScrollsAListWithinAnArea();
    void keyboardOutsideScrollsNothing();
    void keysMoveFromRowToRow();
    void keysWithoutRowsDoNothing();

    void rowsStandAsInAPlainList_data();
    void rowsStandAsInAPlainList();
    void rowsAreFoundByTheirPoints();
    void pixelsAreScrolledInSteps();

    void shortListShowsAllRows();
    void longListHidesWhatIsFarAway();
    void rowsNearToThoseInSightFollow();
    void rowsFarAwayAreStyledWhenTheyComeIntoSight();
    void rowsOfOtherWidthsFollowTheirWidgets();
    void tabReachesEveryRowOfALongList_data();
    void tabReachesEveryRowOfALongList();
    void keyboardStaysInARowThatIsScrolledAway();
    void rowsInSightAreInFrontInTheirOrder();
    void newWidthReachesRowsOfALongList();
    void onlyListedRowsAreShown_data();
    void onlyListedRowsAreShown();
    void unlistedRowsKeepTheirWidgets();
    void listMayBeLeftWithoutRows();
    void rowsOfANewListAreListed();
    void keysMoveAmongListedRows();
    void pageKeysMoveByWhatIsInSight();
    void keysGoOnFromARowThatIsListed();
    void tabGoesThroughListedRows();
    void widgetOfAnUnlistedRowWaits();
    void typingIsTold();

    void manyWidgetsAreDeletedInTurns();
    void rowsMayComeWhileOthersAreDeleted();
    void questionGoesWithItsRow();
    void listGoesWithTheKeyboardInIt();

private:
    /// A list with so many rows, each with a button.
    static WidgetList *makeList(QWidget &parent, int rows);
    /// A shown list with many rows, all empty.
    static WidgetList *makeEmptyRows(QWidget &parent);
    static QPushButton *button(const WidgetList &list, int row);
    /// Every so manieth row, from the first one on.
    static QBitArray each(int step, int rows = Long);
    static QVector<int> shownRows(const WidgetList &list);
};

WidgetList *WidgetListTest::makeList(QWidget &parent, int rows)
{
    auto *list = new WidgetList(QStringLiteral("List"), &parent);
    for (int row = 0; row < rows; ++row) {
        auto *widget = new QWidget(list);
        makeButton(QString(), QString::number(row), QIcon(), widget);
        list->appendRow(widget, RowSize);
    }
    list->setFixedSize(300, 200);
    return list;
}

WidgetList *WidgetListTest::makeEmptyRows(QWidget &parent)
{
    WidgetList *list = makeList(parent, 0);
    for (int row = 0; row < Long; ++row)
        list->appendRow(RowSize);
    parent.show();
    return list;
}

QPushButton *WidgetListTest::button(const WidgetList &list, int row)
{
    return list.rowWidget(row)->findChild<QPushButton *>();
}

QBitArray WidgetListTest::each(int step, int rows)
{
    QBitArray listed(rows);
    for (int row = 0; row < rows; row += step)
        listed.setBit(row);
    return listed;
}

QVector<int> WidgetListTest::shownRows(const WidgetList &list)
{
    QVector<int> rows;
    for (int row = 0; row < list.count(); ++row) {
        if (list.rowWidget(row) && list.rowWidget(row)->isVisible())
            rows.append(row);
    }
    return rows;
}

void WidgetListTest::rowsHoldWidgets()
{
    QWidget window;
    const WidgetList *list = makeList(window, 3);
    QCOMPARE(list->objectName(), QStringLiteral("List"));
    QCOMPARE(list->count(), 3);
    for (int row = 0; row < 3; ++row) {
        QCOMPARE(button(*list, row)->text(), QString::number(row));
        QCOMPARE(list->item(row)->sizeHint(), RowSize);
    }
    QVERIFY(!list->rowWidget(3));
    QCOMPARE(list->selectionMode(), QAbstractItemView::NoSelection);
    QCOMPARE(list->verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
}

void WidgetListTest::clearingDeletesTheWidgets()
{
    QWidget window;
    WidgetList *list = makeList(window, 3);
    const QPointer<QWidget> row = list->rowWidget(1);
    list->clearRows();
    QVERIFY(!row);
    QCOMPARE(list->count(), 0);
}

void WidgetListTest::rowsTakeTheKeyboardInTheirOrder()
{
    QWidget window;
    const WidgetList *list = makeList(window, 3);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    button(*list, 0)->setFocus();
    for (int row : {1, 2, 0}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button(*list, row));
    }
}

void WidgetListTest::keyboardInARowScrollsTheList()
{
    QWidget window;
    const WidgetList *list = makeList(window, 40);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    for (int row : {20, 39, 0}) {
        button(*list, row)->setFocus(Qt::TabFocusReason);
        QVERIFY(list->viewport()->rect().contains(list->rowWidget(row)->geometry()));
    }
}

void WidgetListTest::keyboardScrollsAListWithinAnArea()
{
    QScrollArea window;
    auto *page = new QWidget;
    page->setFixedSize(400, 2000);
    WidgetList *list = makeList(*page, 40);
    list->move(0, 1500);
    window.setWidget(page);
    window.resize(400, 300);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QPushButton *last = button(*list, 39);
    last->setFocus(Qt::TabFocusReason);
    QCOMPARE(last->visibleRegion().boundingRect(), last->rect());
}

void WidgetListTest::keyboardOutsideScrollsNothing()
{
    QWidget window;
    auto *part = new QWidget(&window);
    const WidgetList *watched = makeList(*part, 40);
    const WidgetList *other = makeList(window, 40);
    scrollToFocus(*part);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    button(*other, 20)->setFocus();
    QCOMPARE(other->verticalScrollBar()->value(), 0);
    button(*watched, 20)->setFocus();
    QVERIFY(watched->verticalScrollBar()->value() > 0);
}

void WidgetListTest::keysMoveFromRowToRow()
{
    QWidget window;
    const WidgetList *list = makeList(window, 40);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    button(*list, 10)->setFocus();
    const auto press = [](Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); };
    press(Qt::Key_End);
    QCOMPARE(QApplication::focusWidget(), button(*list, 39));
    press(Qt::Key_PageUp);
    QVERIFY(QApplication::focusWidget() != button(*list, 39));
    QVERIFY(
        list->viewport()->rect().contains(QApplication::focusWidget()->parentWidget()->geometry()));
    press(Qt::Key_Home);
    QCOMPARE(QApplication::focusWidget(), button(*list, 0));
    // A row without anything to operate cannot take it.
    button(*list, 39)->setEnabled(false);
    press(Qt::Key_End);
    QCOMPARE(QApplication::focusWidget(), button(*list, 0));
}

void WidgetListTest::keysWithoutRowsDoNothing()
{
    WidgetList list(QStringLiteral("List"));
    list.show();
    QTest::keyClick(&list, Qt::Key_PageDown);
    QTest::keyClick(&list, Qt::Key_End);
    QCOMPARE(list.currentRow(), -1);
}

// Places -----------------------------------------------------------------------------------------

void WidgetListTest::rowsStandAsInAPlainList_data()
{
    QTest::addColumn<int>("spacing");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("rows");
    for (const int spacing : {0, 4}) {
        for (const int width : {120, 300}) {
            for (const int rows : {1, 3, Long})
                QTest::addRow("spacing %d, width %d, %d rows", spacing, width, rows)
                    << spacing << width << rows;
        }
    }
}

void WidgetListTest::rowsStandAsInAPlainList()
{
    QFETCH(int, spacing);
    QFETCH(int, width);
    QFETCH(int, rows);
    QWidget window;
    WidgetList *list = makeList(window, 0);
    list->setSpacing(spacing);
    auto *plain = new QListWidget(&window);
    plain->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    plain->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    plain->setSpacing(spacing);
    for (int row = 0; row < rows; ++row) {
        const QSize size = RowSize + QSize(row % 3, row % 5);
        list->appendRow(new QWidget(list), size);
        (new QListWidgetItem(plain))->setSizeHint(size);
    }
    for (QWidget *widget : {static_cast<QWidget *>(list), static_cast<QWidget *>(plain)})
        widget->setFixedSize(width, 200);
    window.show();
    for (const int value : {0, 1000, 100000}) {
        for (QListWidget *each : {static_cast<QListWidget *>(list), plain}) {
            each->verticalScrollBar()->setValue(value);
            each->horizontalScrollBar()->setValue(value / 100);
        }
        QTRY_COMPARE(list->viewport()->size(), plain->viewport()->size());
        for (int row = 0; row < rows; ++row) {
            const QRect place = plain->visualItemRect(plain->item(row));
            QCOMPARE(list->visualItemRect(list->item(row)), place);
            if (list->rowWidget(row)->isVisible())
                QCOMPARE(list->rowWidget(row)->geometry(), place);
        }
        const auto ranges = [](const QListWidget &of) {
            const QScrollBar *down = of.verticalScrollBar();
            const QScrollBar *across = of.horizontalScrollBar();
            return QVector<int>{down->maximum(),   down->value(),   down->pageStep(),
                                across->maximum(), across->value(), across->pageStep()};
        };
        QCOMPARE(ranges(*list), ranges(*plain));
    }
}

void WidgetListTest::rowsAreFoundByTheirPoints()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    list->setSpacing(4);
    window.show();
    list->listRows(each(2));
    list->verticalScrollBar()->setValue(1000);
    for (const int row : list->visibleRows()) {
        const QRect place = list->visualItemRect(list->item(row));
        QCOMPARE(list->itemAt(place.topLeft()), list->item(row));
        QCOMPARE(list->itemAt(place.bottomRight()), list->item(row));
        QVERIFY(!list->itemAt(place.topLeft() - QPoint(0, 1)));
        QVERIFY(!list->itemAt(place.topLeft() - QPoint(1, 0)));
        QVERIFY(!list->itemAt(place.bottomLeft() + QPoint(0, 1)));
    }
    QVERIFY(list->visualItemRect(list->item(1)).isNull());
    list->listRows(QBitArray(Long));
    QVERIFY(!list->itemAt(QPoint(10, 10)));
}

void WidgetListTest::pixelsAreScrolledInSteps()
{
    QWidget window;
    const WidgetList *list = makeList(window, Long);
    window.show();
    QScrollBar *bar = list->verticalScrollBar();
    bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    QVERIFY(bar->value() > 10 && bar->value() < RowSize.height());
    bar->setValue(0);
    bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    QCOMPARE(bar->value(), list->viewport()->height());
}

// Long lists -------------------------------------------------------------------------------------

void WidgetListTest::shortListShowsAllRows()
{
    QWidget window;
    const WidgetList *list = makeList(window, Short);
    window.show();
    for (int row = 0; row < Short; ++row)
        QVERIFY(list->rowWidget(row)->isVisible());
}

void WidgetListTest::longListHidesWhatIsFarAway()
{
    QWidget window;
    const WidgetList *list = makeList(window, Long);
    window.show();
    for (const int value : {0, 5000, 2500, 100000}) {
        list->verticalScrollBar()->setValue(value);
        const QVector<int> visible = list->visibleRows();
        QVERIFY(visible.size() > 1);
        for (const int row : visible) {
            QVERIFY(list->rowWidget(row)->isVisible());
            QCOMPARE(list->rowWidget(row)->geometry(), list->visualItemRect(list->item(row)));
        }
        int shown = 0;
        for (int row = 0; row < Long; ++row)
            shown += list->rowWidget(row)->isVisible() ? 1 : 0;
        QVERIFY(shown < 20);
    }
}

void WidgetListTest::rowsNearToThoseInSightFollow()
{
    QWidget window;
    QPushButton *elsewhere = makeButton(QString(), QStringLiteral("elsewhere"), QIcon(), &window);
    const WidgetList *list = makeList(window, Long);
    elsewhere->setFocus();
    window.show();
    for (const int value : {5000, 2500}) {
        list->verticalScrollBar()->setValue(value);
        const QVector<int> visible = list->visibleRows();
        QVector<int> expected{0};
        for (int row = visible.first() - 2; row <= visible.last() + 2; ++row)
            expected.append(row);
        expected.append(Long - 1);
        QVERIFY(!list->rowWidget(visible.last() + 1)->isVisible());
        QTRY_COMPARE(shownRows(*list), expected);
        // They are ready in their places.
        for (const int row : expected)
            QCOMPARE(list->rowWidget(row)->geometry(), list->visualItemRect(list->item(row)));
    }
}

void WidgetListTest::rowsFarAwayAreStyledWhenTheyComeIntoSight()
{
    qApp->setStyleSheet(QStringLiteral("QPushButton { min-width: 123px; }"));
    QWidget window;
    WidgetList *list = makeEmptyRows(window);
    for (int row = 0; row < Long; ++row) {
        auto *widget = new QWidget(list->viewport());
        makeButton(QString(), QString::number(row), QIcon(), widget);
        list->setRowWidget(row, widget);
    }
    QCoreApplication::processEvents();
    QPushButton *far = button(*list, 100);
    QVERIFY(button(*list, 0)->testAttribute(Qt::WA_WState_Polished));
    QVERIFY(!far->testAttribute(Qt::WA_WState_Polished));
    QCOMPARE(list->indexWidget(list->model()->index(100, 0)), far->parentWidget());
    list->scrollToItem(list->item(100));
    QVERIFY(far->isVisible());
    QVERIFY(far->testAttribute(Qt::WA_WState_Polished));
    QCOMPARE(far->sizeHint(), button(*list, 0)->sizeHint());
    QVERIFY(far->sizeHint().width() >= 123);
    qApp->setStyleSheet(QString());
}

void WidgetListTest::rowsOfOtherWidthsFollowTheirWidgets()
{
    QWidget window;
    WidgetList *list = makeEmptyRows(window);
    for (int row = 0; row < Long; ++row) {
        auto *widget = new QWidget(list->viewport());
        auto *layout = new QVBoxLayout(widget);
        auto *spacer = new QWidget(widget);
        spacer->setFixedWidth(100 + row);
        layout->addWidget(spacer);
        list->setRowWidget(row, widget);
    }
    for (const int row : {0, 60, Long - 1}) {
        list->scrollToItem(list->item(row));
        const QSize hint = list->item(row)->sizeHint();
        QCOMPARE(hint, QSize(list->rowWidget(row)->sizeHint().width(), RowSize.height()));
        QVERIFY(hint.width() > 100 + row);
        // What is wider than the list can be scrolled to.
        list->setFixedWidth(hint.width() - 20);
        QTRY_VERIFY(list->horizontalScrollBar()->maximum() >= 20);
        list->setFixedWidth(300);
    }
}

void WidgetListTest::tabReachesEveryRowOfALongList_data()
{
    QTest::addColumn<bool>("backwards");
    QTest::newRow("forwards") << false;
    QTest::newRow("backwards") << true;
}

void WidgetListTest::tabReachesEveryRowOfALongList()
{
    QFETCH(bool, backwards);
    QWidget window;
    QPushButton *before = makeButton(QString(), QStringLiteral("before"), QIcon(), &window);
    const WidgetList *list = makeList(window, Long);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    // From elsewhere, whatever is to be seen of the list.
    list->verticalScrollBar()->setValue(5000);
    before->setFocus();
    for (int step = 0; step < Long; ++step) {
        QTest::keyClick(QApplication::focusWidget(), backwards ? Qt::Key_Backtab : Qt::Key_Tab,
                        backwards ? Qt::ShiftModifier : Qt::NoModifier);
        const int row = backwards ? Long - 1 - step : step;
        QCOMPARE(QApplication::focusWidget(), button(*list, row));
        QVERIFY(list->viewport()->rect().contains(list->rowWidget(row)->geometry()));
    }
}

void WidgetListTest::keyboardStaysInARowThatIsScrolledAway()
{
    QWidget window;
    const WidgetList *list = makeList(window, Long);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    list->verticalScrollBar()->setValue(1000);
    const int row = list->visibleRows().first() + 1;
    button(*list, row)->setFocus();
    list->verticalScrollBar()->setValue(5000);
    QVERIFY(list->visibleRows().first() > row + 10);
    QCOMPARE(QApplication::focusWidget(), button(*list, row));
    for (const int step : {1, 2}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button(*list, row + step));
    }
}

void WidgetListTest::rowsInSightAreInFrontInTheirOrder()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    const auto inFront = [list] {
        const QVector<int> visible = list->visibleRows();
        const QObjectList &all = list->viewport()->children();
        QVector<int> places;
        for (const int row : visible)
            places.append(all.indexOf(list->rowWidget(row)));
        // The ends of the list and the rows near to it are in front, too.
        return std::is_sorted(places.begin(), places.end()) && all.size() - places.first() < Short;
    };
    for (const int value : {100000, 4000, 3900, 3000, 3060, 5000, 0, 30, 0}) {
        list->verticalScrollBar()->setValue(value);
        QVERIFY2(inFront(), QTest::toString(value));
    }
    for (const int step : {3, 40, 2}) {
        list->listRows(each(step));
        QVERIFY2(inFront(), QTest::toString(step));
    }
}

void WidgetListTest::newWidthReachesRowsOfALongList()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    list->setFixedSize(500, 200);
    for (const int value : {0, 5000}) {
        list->verticalScrollBar()->setValue(value);
        const int row = list->visibleRows().first();
        QTRY_COMPARE(list->rowWidget(row)->geometry(), list->visualItemRect(list->item(row)));
        QVERIFY(list->rowWidget(row)->width() > 400);
    }
}

// Lists with rows left out ----------------------------------------------------------------------

void WidgetListTest::onlyListedRowsAreShown_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("step");
    QTest::newRow("short") << Short << 3;
    QTest::newRow("long") << Long << 7;
    QTest::newRow("long, few rows left") << Long << 60;
}

void WidgetListTest::onlyListedRowsAreShown()
{
    QFETCH(int, rows);
    QFETCH(int, step);
    QWidget window;
    WidgetList *list = makeList(window, rows);
    window.show();
    const int whole = list->verticalScrollBar()->maximum();
    list->listRows(each(step, rows));
    const QVector<int> visible = list->visibleRows();
    // They stand one under the other, from the top on.
    QCOMPARE(list->rowWidget(0)->y(), 0);
    for (int place = 0; place < visible.size(); ++place) {
        QCOMPARE(visible.at(place), place * step);
        const QWidget *widget = list->rowWidget(visible.at(place));
        QVERIFY(widget->isVisible());
        QCOMPARE(widget->y(), place * RowSize.height());
    }
    for (const int row : shownRows(*list))
        QVERIFY(row % step == 0);
    QVERIFY(list->verticalScrollBar()->maximum() < whole);
    // The last one is reached, too.
    list->scrollToBottom();
    const int last = (rows - 1) / step * step;
    QCOMPARE(list->visibleRows().last(), last);
    QVERIFY(list->rowWidget(last)->isVisible());

    list->listRows(each(1, rows));
    list->scrollToTop();
    QCOMPARE(list->verticalScrollBar()->maximum(), whole);
    for (const int row : {0, 1, 2}) {
        QVERIFY(list->rowWidget(row)->isVisible());
        QCOMPARE(list->rowWidget(row)->y(), row * RowSize.height());
    }
}

void WidgetListTest::unlistedRowsKeepTheirWidgets()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    QVector<QPointer<QWidget>> rows;
    for (int row = 0; row < Long; ++row)
        rows.append(list->rowWidget(row));
    list->listRows(each(50));
    QCoreApplication::processEvents();
    for (int row = 0; row < Long; ++row) {
        QCOMPARE(list->rowWidget(row), rows.at(row).data());
        QVERIFY(rows.at(row));
        QCOMPARE(list->isListed(row), row % 50 == 0);
    }
    list->clearRows();
    QTRY_VERIFY(std::none_of(rows.begin(), rows.end(), [](const auto &row) { return row; }));
}

void WidgetListTest::listMayBeLeftWithoutRows()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    list->scrollToBottom();
    list->listRows(QBitArray(Long));
    QCOMPARE(list->firstRow(), -1);
    QVERIFY(list->visibleRows().isEmpty());
    QTRY_VERIFY(shownRows(*list).isEmpty());
    list->listRows(each(Long - 1));
    QCOMPARE(list->firstRow(), 0);
    QCOMPARE(list->visibleRows(), QVector<int>({0, Long - 1}));
    QCOMPARE(shownRows(*list), list->visibleRows());
}

void WidgetListTest::rowsOfANewListAreListed()
{
    QWidget window;
    WidgetList *list = makeList(window, Short);
    window.show();
    list->listRows(QBitArray(Short));
    list->appendRow(new QWidget(list), RowSize);
    QCOMPARE(list->firstRow(), Short);
    list->clearRows();
    QCOMPARE(list->firstRow(), -1);
    list->appendRow(new QWidget(list), RowSize);
    QCOMPARE(list->visibleRows(), QVector<int>({0}));
    QTRY_VERIFY(list->rowWidget(0)->isVisible());
}

void WidgetListTest::keysMoveAmongListedRows()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const auto press = [](Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); };
    // Moved on by keys before, so that the list goes on from a row that is left out then.
    button(*list, 1)->setFocus();
    press(Qt::Key_PageDown);
    QVERIFY(list->currentRow() > 1);
    QBitArray listed(Long);
    for (const int row : {10, 40, 100, 110})
        listed.setBit(row);
    list->listRows(listed);
    QCOMPARE(list->currentRow(), 10);
    button(*list, 10)->setFocus();
    press(Qt::Key_End);
    QCOMPARE(QApplication::focusWidget(), button(*list, 110));
    press(Qt::Key_PageDown);
    QCOMPARE(QApplication::focusWidget(), button(*list, 110));
    press(Qt::Key_Home);
    QCOMPARE(QApplication::focusWidget(), button(*list, 10));
    press(Qt::Key_PageUp);
    QCOMPARE(QApplication::focusWidget(), button(*list, 10));
    press(Qt::Key_PageDown);
    const QWidget *focused = QApplication::focusWidget();
    QVERIFY(focused == button(*list, 100) || focused == button(*list, 110));
}

void WidgetListTest::pageKeysMoveByWhatIsInSight()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    list->listRows(each(3));
    button(*list, 0)->setFocus(Qt::TabFocusReason);
    const auto press = [](Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); };
    // The last one in sight is the first one afterwards.
    const int last = list->visibleRows().last();
    press(Qt::Key_PageDown);
    QCOMPARE(QApplication::focusWidget(), button(*list, last));
    press(Qt::Key_PageDown);
    QCOMPARE(QApplication::focusWidget(), button(*list, 2 * last));
    press(Qt::Key_PageUp);
    QCOMPARE(QApplication::focusWidget(), button(*list, last));
    // Where no more than one is in sight it goes on all the same.
    list->setFixedSize(300, RowSize.height());
    press(Qt::Key_PageDown);
    QCOMPARE(QApplication::focusWidget(), button(*list, last + 3));
}

void WidgetListTest::keysGoOnFromARowThatIsListed()
{
    QWidget window;
    QPushButton *elsewhere = makeButton(QString(), QStringLiteral("elsewhere"), QIcon(), &window);
    WidgetList *list = makeList(window, Long);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    button(*list, 100)->setFocus(Qt::TabFocusReason);
    QCOMPARE(list->currentRow(), 100);
    elsewhere->setFocus();
    list->listRows(each(60));
    QCOMPARE(list->currentRow(), 0);
    list->listRows(QBitArray(Long));
    QCOMPARE(list->currentRow(), -1);
}

void WidgetListTest::tabGoesThroughListedRows()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    scrollToFocus(window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    list->listRows(each(3));
    button(*list, 0)->setFocus();
    for (int row = 3; row < Long; row += 3) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), button(*list, row));
        QVERIFY(list->viewport()->rect().contains(list->rowWidget(row)->geometry()));
    }
}

void WidgetListTest::widgetOfAnUnlistedRowWaits()
{
    QWidget window;
    WidgetList *list = makeEmptyRows(window);
    list->listRows(each(2));
    for (const int row : {0, 1}) {
        auto *widget = new QWidget(list->viewport());
        makeButton(QString(), QString::number(row), QIcon(), widget);
        list->setRowWidget(row, widget);
    }
    QCoreApplication::processEvents();
    QCOMPARE(shownRows(*list), QVector<int>({0}));
    list->listRows(each(1));
    QTRY_COMPARE(shownRows(*list), QVector<int>({0, 1}));
    QCOMPARE(list->rowWidget(1)->geometry(), list->visualItemRect(list->item(1)));
}

void WidgetListTest::typingIsTold()
{
    QWidget window;
    WidgetList *list = makeList(window, 3);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QSignalSpy typed(list, &WidgetList::typed);
    QSignalSpy clicked(button(*list, 0), &QPushButton::clicked);
    button(*list, 0)->setFocus();
    const auto press = [&list](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(button(*list, 0), key, modifiers);
    };
    QTest::keyClicks(button(*list, 0), QStringLiteral("aB3-"));
    QCOMPARE(typed.size(), 4);
    QCOMPARE(typed.at(1).first().toString(), QStringLiteral("B"));
    QTest::sendKeyEvent(QTest::Click, button(*list, 0), Qt::Key_unknown, QStringLiteral("é"),
                        Qt::NoModifier);
    QCOMPARE(typed.takeLast().first().toString(), QStringLiteral("é"));
    // What does something writes nothing.
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_A, Qt::AltModifier);
    press(Qt::Key_A, Qt::MetaModifier);
    press(Qt::Key_Escape);
    press(Qt::Key_F4);
    press(Qt::Key_Delete);
    press(Qt::Key_Backspace);
    QCOMPARE(typed.size(), 4);
    press(Qt::Key_Space);
    QCOMPARE(typed.size(), 4);
    QCOMPARE(clicked.size(), 1);
}

// Many rows that go ------------------------------------------------------------------------------

void WidgetListTest::manyWidgetsAreDeletedInTurns()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    QVector<QPointer<QWidget>> rows;
    for (int row = 0; row < Long; ++row)
        rows.append(list->rowWidget(row));
    list->clearRows();
    QCOMPARE(list->count(), 0);
    for (const QPointer<QWidget> &row : qAsConst(rows))
        QVERIFY(!row || !row->isVisible());
    const auto isDeleted = [](const QPointer<QWidget> &row) { return row.isNull(); };
    QVERIFY(!std::all_of(rows.cbegin(), rows.cend(), isDeleted));
    QTRY_VERIFY(std::all_of(rows.cbegin(), rows.cend(), isDeleted));
}

void WidgetListTest::rowsMayComeWhileOthersAreDeleted()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    const QPointer<QWidget> old = list->rowWidget(Long - 1);
    const QPointer<QWidget> older = list->rowWidget(0);
    list->clearRows();
    auto *widget = new QWidget(list);
    list->appendRow(RowSize);
    list->setRowWidget(0, widget);
    QTRY_VERIFY(!old && !older);
    QCOMPARE(list->rowWidget(0), widget);
    QVERIFY(widget->isVisible());
}

void WidgetListTest::questionGoesWithItsRow()
{
    QWidget window;
    WidgetList *list = makeList(window, Long);
    window.show();
    const QPointer<QWidget> row = list->rowWidget(1);
    const QPointer<QDialog> question = new QDialog(row);
    question->open();
    list->clearRows();
    QVERIFY(!question);
    QVERIFY(!row);
}

void WidgetListTest::listGoesWithTheKeyboardInIt()
{
    auto window = std::make_unique<QWidget>();
    const QPointer<WidgetList> list = makeList(*window, Long);
    window->show();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    button(*list, 1)->setFocus();
    QVERIFY(list->isAncestorOf(QApplication::focusWidget()));
    delete list;
    QVERIFY(!list);
}

KAVO_TEST_MAIN(WidgetListTest)
#include "WidgetListTest.moc"
