#include "components/WidgetList.h"
#include "components/Buttons.h"
#include "components/FocusScrolling.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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
/// The number of rows up to which all rows are shown.
constexpr int Short = 20;
constexpr int Long = 130;

} // namespace

/// Tests the list of widgets, and scrolling to the focused widget.
class WidgetListTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_window = std::make_unique<QWidget>(); }
    void cleanup() { m_window.reset(); }

    void rowsHoldWidgets()
    {
        makeList(*m_window, 3);
        QCOMPARE(m_list->objectName(), "List"_s);
        QCOMPARE(m_list->count(), 3);
        for (int row = 0; row < 3; ++row) {
            QCOMPARE(button(row)->text(), QString::number(row));
            QCOMPARE(m_list->item(row)->sizeHint(), RowSize);
        }
        QVERIFY(!m_list->rowWidget(3));
        QCOMPARE(m_list->selectionMode(), QAbstractItemView::NoSelection);
        QCOMPARE(m_list->verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
    }

    void clearingDeletesTheWidgets()
    {
        makeList(*m_window, 3);
        const QPointer<QWidget> row = m_list->rowWidget(1);
        m_list->clearRows();
        QVERIFY(!row);
        QCOMPARE(m_list->count(), 0);
    }

    void tabVisitsTheRowsInTheirOrder()
    {
        open(3);
        button(0)->setFocus();
        for (int row : {1, 2, 0}) {
            press(Qt::Key_Tab);
            QCOMPARE(focusedRow(), row);
        }
    }

    void focusInARowScrollsTheList()
    {
        open(40);
        for (int row : {20, 39, 0}) {
            button(row)->setFocus(Qt::TabFocusReason);
            QVERIFY(isInSight(row));
        }
    }

    void focusScrollsAListWithinAnArea()
    {
        QScrollArea window;
        auto *page = new QWidget;
        page->setFixedSize(400, 2000);
        makeList(*page, 40);
        m_list->move(0, 1500);
        window.setWidget(page);
        window.resize(400, 300);
        scrollToFocus(window);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QPushButton *last = button(39);
        last->setFocus(Qt::TabFocusReason);
        QCOMPARE(last->visibleRegion().boundingRect(), last->rect());
    }

    void focusOutsideScrollsNothing()
    {
        auto *other = new QWidget(m_window.get());
        makeList(*other, 40);
        const WidgetList *unwatched = m_list;
        QPushButton *unwatchedButton = button(20);
        auto *part = new QWidget(m_window.get());
        makeList(*part, 40);
        scrollToFocus(*part);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        unwatchedButton->setFocus();
        QCOMPARE(unwatched->verticalScrollBar()->value(), 0);
        button(20)->setFocus();
        QVERIFY(m_list->verticalScrollBar()->value() > 0);
    }

    void keysMoveFromRowToRow()
    {
        open(40);
        button(10)->setFocus();
        press(Qt::Key_End);
        QCOMPARE(focusedRow(), 39);
        press(Qt::Key_PageUp);
        QVERIFY(focusedRow() != 39);
        QVERIFY(isInSight(focusedRow()));
        press(Qt::Key_Home);
        QCOMPARE(focusedRow(), 0);
        // A row whose only button is disabled cannot take the focus.
        button(39)->setEnabled(false);
        press(Qt::Key_End);
        QCOMPARE(focusedRow(), 0);
    }

    void keysWithoutRowsDoNothing()
    {
        WidgetList list("List"_s);
        list.show();
        QTest::keyClick(&list, Qt::Key_PageDown);
        QTest::keyClick(&list, Qt::Key_End);
        QCOMPARE(list.currentRow(), -1);
    }

    void rowsHaveThePlacesOfAPlainList_data()
    {
        Rows<int, int, int> table;
        for (const int spacing : {0, 4}) {
            for (const int width : {120, 300}) {
                for (const int rows : {1, 3, Long}) {
                    const QString name = "spacing %1, width %2, %3 rows"_s;
                    table.row(name.arg(spacing).arg(width).arg(rows).toLatin1(), spacing, width,
                              rows);
                }
            }
        }
    }

    void rowsHaveThePlacesOfAPlainList()
    {
        const auto [spacing, width, rows] = Rows<int, int, int>::current();
        makeList(*m_window, 0);
        m_list->setSpacing(spacing);
        auto *plain = new QListWidget(m_window.get());
        plain->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
        plain->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
        plain->setSpacing(spacing);
        for (int row = 0; row < rows; ++row) {
            const QSize size = RowSize + QSize(row % 3, row % 5);
            m_list->appendRow(new QWidget(m_list), size);
            (new QListWidgetItem(plain))->setSizeHint(size);
        }
        for (QListWidget *each : QVector<QListWidget *>{m_list, plain})
            each->setFixedSize(width, 200);
        m_window->show();
        for (const int value : {0, 1000, 100000}) {
            for (QListWidget *each : QVector<QListWidget *>{m_list, plain}) {
                each->verticalScrollBar()->setValue(value);
                each->horizontalScrollBar()->setValue(value / 100);
            }
            QTRY_COMPARE(m_list->viewport()->size(), plain->viewport()->size());
            for (int row = 0; row < rows; ++row) {
                QCOMPARE(place(row), plain->visualItemRect(plain->item(row)));
                if (m_list->rowWidget(row)->isVisible())
                    QCOMPARE(m_list->rowWidget(row)->geometry(), place(row));
            }
            const auto ranges = [](const QListWidget &of) {
                const QScrollBar *down = of.verticalScrollBar();
                const QScrollBar *across = of.horizontalScrollBar();
                return QVector<int>{down->maximum(),   down->value(),   down->pageStep(),
                                    across->maximum(), across->value(), across->pageStep()};
            };
            QCOMPARE(ranges(*m_list), ranges(*plain));
        }
    }

    void rowsAreFoundByTheirPoints()
    {
        makeList(*m_window, Long);
        m_list->setSpacing(4);
        m_window->show();
        m_list->listRows(each(2));
        m_list->verticalScrollBar()->setValue(1000);
        for (const int row : m_list->visibleRows()) {
            const QRect rect = place(row);
            QCOMPARE(m_list->itemAt(rect.topLeft()), m_list->item(row));
            QCOMPARE(m_list->itemAt(rect.bottomRight()), m_list->item(row));
            QVERIFY(!m_list->itemAt(rect.topLeft() - QPoint(0, 1)));
            QVERIFY(!m_list->itemAt(rect.topLeft() - QPoint(1, 0)));
            QVERIFY(!m_list->itemAt(rect.bottomLeft() + QPoint(0, 1)));
        }
        QVERIFY(place(1).isNull());
        m_list->listRows(QBitArray(Long));
        QVERIFY(!m_list->itemAt(QPoint(10, 10)));
    }

    void pixelsAreScrolledInSteps()
    {
        open(Long);
        QScrollBar *bar = m_list->verticalScrollBar();
        bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        QVERIFY(bar->value() > 10 && bar->value() < RowSize.height());
        bar->setValue(0);
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
        QCOMPARE(bar->value(), m_list->viewport()->height());
    }

    void shortListShowsAllRows()
    {
        open(Short);
        QCOMPARE(shownRows().size(), Short);
    }

    void longListHidesDistantRows()
    {
        open(Long);
        for (const int value : {0, 5000, 2500, 100000}) {
            m_list->verticalScrollBar()->setValue(value);
            const QVector<int> visible = m_list->visibleRows();
            QVERIFY(visible.size() > 1);
            for (const int row : visible) {
                QVERIFY(m_list->rowWidget(row)->isVisible());
                QCOMPARE(m_list->rowWidget(row)->geometry(), place(row));
            }
            QVERIFY(shownRows().size() < 20);
        }
    }

    void rowsNearTheVisibleOnesAreShownLater()
    {
        QPushButton *elsewhere = makeButton(QString(), "elsewhere"_s, QIcon(), m_window.get());
        elsewhere->setFocus();
        open(Long);
        for (const int value : {5000, 2500}) {
            m_list->verticalScrollBar()->setValue(value);
            const QVector<int> visible = m_list->visibleRows();
            QVector<int> expected{0};
            for (int row = visible.first() - 2; row <= visible.last() + 2; ++row)
                expected.append(row);
            expected.append(Long - 1);
            QVERIFY(!m_list->rowWidget(visible.last() + 1)->isVisible());
            QTRY_COMPARE(shownRows(), expected);
            for (const int row : expected)
                QCOMPARE(m_list->rowWidget(row)->geometry(), place(row));
        }
    }

    void distantRowsAreStyledWhenTheyComeIntoSight()
    {
        qApp->setStyleSheet("QPushButton { min-width: 123px; }"_s);
        openEmptyRows();
        for (int row = 0; row < Long; ++row)
            m_list->setRowWidget(row, rowWithButton(row, m_list->viewport()));
        QCoreApplication::processEvents();
        QPushButton *far = button(100);
        QVERIFY(button(0)->testAttribute(Qt::WA_WState_Polished));
        QVERIFY(!far->testAttribute(Qt::WA_WState_Polished));
        QCOMPARE(m_list->indexWidget(m_list->model()->index(100, 0)), far->parentWidget());
        m_list->scrollToItem(m_list->item(100));
        QVERIFY(far->isVisible());
        QVERIFY(far->testAttribute(Qt::WA_WState_Polished));
        QCOMPARE(far->sizeHint(), button(0)->sizeHint());
        QVERIFY(far->sizeHint().width() >= 123);
        qApp->setStyleSheet(QString());
    }

    void rowsOfOtherWidthsFollowTheirWidgets()
    {
        openEmptyRows();
        for (int row = 0; row < Long; ++row) {
            auto *widget = new QWidget(m_list->viewport());
            auto *layout = new QVBoxLayout(widget);
            auto *spacer = new QWidget(widget);
            spacer->setFixedWidth(100 + row);
            layout->addWidget(spacer);
            m_list->setRowWidget(row, widget);
        }
        for (const int row : {0, 60, Long - 1}) {
            m_list->scrollToItem(m_list->item(row));
            const QSize hint = m_list->item(row)->sizeHint();
            QCOMPARE(hint, QSize(m_list->rowWidget(row)->sizeHint().width(), RowSize.height()));
            QVERIFY(hint.width() > 100 + row);
            // If the list is too narrow, it scrolls horizontally.
            m_list->setFixedWidth(hint.width() - 20);
            QTRY_VERIFY(m_list->horizontalScrollBar()->maximum() >= 20);
            m_list->setFixedWidth(300);
        }
    }

    void tabReachesEveryRowOfALongList_data()
    {
        Rows<bool>().row("forwards", false).row("backwards", true);
    }

    void tabReachesEveryRowOfALongList()
    {
        const auto [backwards] = Rows<bool>::current();
        QPushButton *before = makeButton(QString(), "before"_s, QIcon(), m_window.get());
        open(Long);
        // The focus enters from outside, regardless of the scroll position.
        m_list->verticalScrollBar()->setValue(5000);
        before->setFocus();
        for (int step = 0; step < Long; ++step) {
            press(backwards ? Qt::Key_Backtab : Qt::Key_Tab,
                  backwards ? Qt::ShiftModifier : Qt::NoModifier);
            const int row = backwards ? Long - 1 - step : step;
            QCOMPARE(focusedRow(), row);
            QVERIFY(isInSight(row));
        }
    }

    void rowThatIsScrolledAwayKeepsTheFocus()
    {
        open(Long);
        m_list->verticalScrollBar()->setValue(1000);
        const int row = m_list->visibleRows().first() + 1;
        button(row)->setFocus();
        m_list->verticalScrollBar()->setValue(5000);
        QVERIFY(m_list->visibleRows().first() > row + 10);
        QCOMPARE(focusedRow(), row);
        for (const int step : {1, 2}) {
            press(Qt::Key_Tab);
            QCOMPARE(focusedRow(), row + step);
        }
    }

    void visibleRowsAreInFrontInTheirOrder()
    {
        open(Long);
        const auto inFront = [this] {
            const QVector<int> visible = m_list->visibleRows();
            const QObjectList &all = m_list->viewport()->children();
            QVector<int> places;
            for (const int row : visible)
                places.append(all.indexOf(m_list->rowWidget(row)));
            // The first, the last and the nearest rows are also in front.
            return std::is_sorted(places.begin(), places.end()) &&
                   all.size() - places.first() < Short;
        };
        for (const int value : {100000, 4000, 3900, 3000, 3060, 5000, 0, 30, 0}) {
            m_list->verticalScrollBar()->setValue(value);
            QVERIFY2(inFront(), QTest::toString(value));
        }
        for (const int step : {3, 40, 2}) {
            m_list->listRows(each(step));
            QVERIFY2(inFront(), QTest::toString(step));
        }
    }

    void newWidthReachesRowsOfALongList()
    {
        open(Long);
        m_list->setFixedSize(500, 200);
        for (const int value : {0, 5000}) {
            m_list->verticalScrollBar()->setValue(value);
            const int row = m_list->visibleRows().first();
            QTRY_COMPARE(m_list->rowWidget(row)->geometry(), place(row));
            QVERIFY(m_list->rowWidget(row)->width() > 400);
        }
    }

    void onlyListedRowsAreShown_data()
    {
        Rows<int, int>()
            .row("short", Short, 3)
            .row("long", Long, 7)
            .row("long, few rows left", Long, 60);
    }

    void onlyListedRowsAreShown()
    {
        const auto [rows, step] = Rows<int, int>::current();
        open(rows);
        const int whole = m_list->verticalScrollBar()->maximum();
        m_list->listRows(each(step, rows));
        const QVector<int> visible = m_list->visibleRows();
        // The listed rows are placed one below the other, from the top.
        QCOMPARE(m_list->rowWidget(0)->y(), 0);
        for (int place = 0; place < visible.size(); ++place) {
            QCOMPARE(visible.at(place), place * step);
            const QWidget *widget = m_list->rowWidget(visible.at(place));
            QVERIFY(widget->isVisible());
            QCOMPARE(widget->y(), place * RowSize.height());
        }
        for (const int row : shownRows())
            QVERIFY(row % step == 0);
        QVERIFY(m_list->verticalScrollBar()->maximum() < whole);
        // The last listed row can be scrolled to.
        m_list->scrollToBottom();
        const int last = (rows - 1) / step * step;
        QCOMPARE(m_list->visibleRows().last(), last);
        QVERIFY(m_list->rowWidget(last)->isVisible());

        m_list->listRows(each(1, rows));
        m_list->scrollToTop();
        QCOMPARE(m_list->verticalScrollBar()->maximum(), whole);
        for (const int row : {0, 1, 2}) {
            QVERIFY(m_list->rowWidget(row)->isVisible());
            QCOMPARE(m_list->rowWidget(row)->y(), row * RowSize.height());
        }
    }

    void unlistedRowsKeepTheirWidgets()
    {
        open(Long);
        const QVector<QPointer<QWidget>> rows = allWidgets();
        m_list->listRows(each(50));
        QCoreApplication::processEvents();
        for (int row = 0; row < Long; ++row) {
            QCOMPARE(m_list->rowWidget(row), rows.at(row).data());
            QVERIFY(rows.at(row));
            QCOMPARE(m_list->isListed(row), row % 50 == 0);
        }
        m_list->clearRows();
        QTRY_COMPARE(rows.count(nullptr), Long);
    }

    void listMayHaveNoListedRows()
    {
        open(Long);
        m_list->scrollToBottom();
        m_list->listRows(QBitArray(Long));
        QCOMPARE(m_list->firstRow(), -1);
        QVERIFY(m_list->visibleRows().isEmpty());
        QTRY_VERIFY(shownRows().isEmpty());
        m_list->listRows(each(Long - 1));
        QCOMPARE(m_list->firstRow(), 0);
        QCOMPARE(m_list->visibleRows(), QVector<int>({0, Long - 1}));
        QCOMPARE(shownRows(), m_list->visibleRows());
    }

    void rowsOfANewListAreListed()
    {
        open(Short);
        m_list->listRows(QBitArray(Short));
        m_list->appendRow(new QWidget(m_list), RowSize);
        QCOMPARE(m_list->firstRow(), Short);
        m_list->clearRows();
        QCOMPARE(m_list->firstRow(), -1);
        m_list->appendRow(new QWidget(m_list), RowSize);
        QCOMPARE(m_list->visibleRows(), QVector<int>({0}));
        QTRY_VERIFY(m_list->rowWidget(0)->isVisible());
    }

    void keysMoveAmongListedRows()
    {
        open(Long);
        // The list's current row is not among the rows that are listed below.
        button(1)->setFocus();
        press(Qt::Key_PageDown);
        QVERIFY(m_list->currentRow() > 1);
        QBitArray listed(Long);
        for (const int row : {10, 40, 100, 110})
            listed.setBit(row);
        m_list->listRows(listed);
        QCOMPARE(m_list->currentRow(), 10);
        button(10)->setFocus();
        press(Qt::Key_End);
        QCOMPARE(focusedRow(), 110);
        press(Qt::Key_PageDown);
        QCOMPARE(focusedRow(), 110);
        press(Qt::Key_Home);
        QCOMPARE(focusedRow(), 10);
        press(Qt::Key_PageUp);
        QCOMPARE(focusedRow(), 10);
        press(Qt::Key_PageDown);
        QVERIFY(focusedRow() == 100 || focusedRow() == 110);
    }

    void pageKeysMoveByTheVisibleRows()
    {
        open(Long);
        m_list->listRows(each(3));
        button(0)->setFocus(Qt::TabFocusReason);
        // The last visible row becomes the first one.
        const int last = m_list->visibleRows().last();
        press(Qt::Key_PageDown);
        QCOMPARE(focusedRow(), last);
        press(Qt::Key_PageDown);
        QCOMPARE(focusedRow(), 2 * last);
        press(Qt::Key_PageUp);
        QCOMPARE(focusedRow(), last);
        // In a list with one visible row, the key moves by one row.
        m_list->setFixedSize(300, RowSize.height());
        press(Qt::Key_PageDown);
        QCOMPARE(focusedRow(), last + 3);
    }

    void keysContinueFromAListedRow()
    {
        QPushButton *elsewhere = makeButton(QString(), "elsewhere"_s, QIcon(), m_window.get());
        open(Long);
        button(100)->setFocus(Qt::TabFocusReason);
        QCOMPARE(m_list->currentRow(), 100);
        elsewhere->setFocus();
        m_list->listRows(each(60));
        QCOMPARE(m_list->currentRow(), 0);
        m_list->listRows(QBitArray(Long));
        QCOMPARE(m_list->currentRow(), -1);
    }

    void tabGoesThroughListedRows()
    {
        open(Long);
        m_list->listRows(each(3));
        button(0)->setFocus();
        for (int row = 3; row < Long; row += 3) {
            press(Qt::Key_Tab);
            QCOMPARE(focusedRow(), row);
            QVERIFY(isInSight(row));
        }
    }

    void widgetOfAnUnlistedRowIsHidden()
    {
        openEmptyRows();
        m_list->listRows(each(2));
        for (const int row : {0, 1})
            m_list->setRowWidget(row, rowWithButton(row, m_list->viewport()));
        QCoreApplication::processEvents();
        QCOMPARE(shownRows(), QVector<int>({0}));
        m_list->listRows(each(1));
        QTRY_COMPARE(shownRows(), QVector<int>({0, 1}));
        QCOMPARE(m_list->rowWidget(1)->geometry(), place(1));
    }

    void typedTextIsAnnounced()
    {
        open(3);
        QSignalSpy typed(m_list, &WidgetList::typed);
        QSignalSpy clicked(button(0), &QPushButton::clicked);
        button(0)->setFocus();
        QTest::keyClicks(button(0), "aB3-"_s);
        QCOMPARE(typed.size(), 4);
        QCOMPARE(typed.at(1).first().toString(), "B"_s);
        QTest::sendKeyEvent(QTest::Click, button(0), Qt::Key_unknown, "é"_s, Qt::NoModifier);
        QCOMPARE(typed.takeLast().first().toString(), "é"_s);
        // Shortcuts and editing keys are not text.
        for (const auto modifier : {Qt::ControlModifier, Qt::AltModifier, Qt::MetaModifier})
            press(Qt::Key_A, modifier);
        for (const auto key : {Qt::Key_Escape, Qt::Key_F4, Qt::Key_Delete, Qt::Key_Backspace})
            press(key);
        QCOMPARE(typed.size(), 4);
        press(Qt::Key_Space);
        QCOMPARE(typed.size(), 4);
        QCOMPARE(clicked.size(), 1);
    }

    void manyWidgetsAreDeletedInTurns()
    {
        open(Long);
        const QVector<QPointer<QWidget>> rows = allWidgets();
        m_list->clearRows();
        QCOMPARE(m_list->count(), 0);
        for (const QPointer<QWidget> &row : qAsConst(rows))
            QVERIFY(!row || !row->isVisible());
        QVERIFY(rows.count(nullptr) < Long);
        QTRY_COMPARE(rows.count(nullptr), Long);
    }

    void rowsMayComeWhileOthersAreDeleted()
    {
        open(Long);
        const QPointer<QWidget> old = m_list->rowWidget(Long - 1);
        const QPointer<QWidget> older = m_list->rowWidget(0);
        m_list->clearRows();
        auto *widget = new QWidget(m_list);
        m_list->appendRow(RowSize);
        m_list->setRowWidget(0, widget);
        QTRY_VERIFY(!old && !older);
        QCOMPARE(m_list->rowWidget(0), widget);
        QVERIFY(widget->isVisible());
    }

    void dialogOfARowIsDeletedWithIt()
    {
        open(Long);
        const QPointer<QWidget> row = m_list->rowWidget(1);
        const QPointer<QDialog> question = new QDialog(row);
        question->open();
        m_list->clearRows();
        QVERIFY(!question);
        QVERIFY(!row);
    }

    void listWithTheFocusMayBeDeleted()
    {
        open(Long);
        button(1)->setFocus();
        QVERIFY(m_list->isAncestorOf(QApplication::focusWidget()));
        delete m_list;
        QVERIFY(!QApplication::focusWidget());
    }

private:
    /// Creates the list with this number of rows, each with a button.
    void makeList(QWidget &parent, int rows)
    {
        m_list = new WidgetList("List"_s, &parent);
        for (int row = 0; row < rows; ++row)
            m_list->appendRow(rowWithButton(row, m_list), RowSize);
        m_list->setFixedSize(300, 200);
    }

    static QWidget *rowWithButton(int row, QWidget *parent)
    {
        auto *widget = new QWidget(parent);
        makeButton(QString(), QString::number(row), QIcon(), widget);
        return widget;
    }

    /// Shows a list from makeList() in the active window.
    void open(int rows)
    {
        makeList(*m_window, rows);
        scrollToFocus(*m_window);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    /// Shows a long list of rows without widgets.
    void openEmptyRows()
    {
        makeList(*m_window, 0);
        for (int row = 0; row < Long; ++row)
            m_list->appendRow(RowSize);
        m_window->show();
    }

    QPushButton *button(int row) const
    {
        return m_list->rowWidget(row)->findChild<QPushButton *>();
    }
    QRect place(int row) const { return m_list->visualItemRect(m_list->item(row)); }
    bool isInSight(int row) const
    {
        return m_list->viewport()->rect().contains(m_list->rowWidget(row)->geometry());
    }

    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    /// The row whose button has the focus; -1 for none.
    int focusedRow() const
    {
        const auto *focused = qobject_cast<QPushButton *>(QApplication::focusWidget());
        return focused && m_list->isAncestorOf(focused) ? focused->text().toInt() : -1;
    }

    /// The rows whose number is a multiple of the step.
    static QBitArray each(int step, int rows = Long)
    {
        QBitArray listed(rows);
        for (int row = 0; row < rows; row += step)
            listed.setBit(row);
        return listed;
    }

    QVector<int> shownRows() const
    {
        QVector<int> rows;
        for (int row = 0; row < m_list->count(); ++row) {
            if (m_list->rowWidget(row) && m_list->rowWidget(row)->isVisible())
                rows.append(row);
        }
        return rows;
    }

    QVector<QPointer<QWidget>> allWidgets() const
    {
        QVector<QPointer<QWidget>> widgets;
        for (int row = 0; row < m_list->count(); ++row)
            widgets.append(m_list->rowWidget(row));
        return widgets;
    }

    std::unique_ptr<QWidget> m_window;
    WidgetList *m_list = nullptr;
};

KAVO_TEST_MAIN(WidgetListTest)
#include "WidgetListTest.moc"
