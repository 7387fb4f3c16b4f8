#include "components/WidgetList.h"
#include "components/Buttons.h"
#include "components/FocusScrolling.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"

#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Components;

namespace {

constexpr QSize RowSize(200, 50);

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

private:
    /// A list with so many rows, each with a button.
    static WidgetList *makeList(QWidget &parent, int rows);
    static QPushButton *button(const WidgetList &list, int row);
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

QPushButton *WidgetListTest::button(const WidgetList &list, int row)
{
    return list.rowWidget(row)->findChild<QPushButton *>();
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

KAVO_TEST_MAIN(WidgetListTest)
#include "WidgetListTest.moc"
