#include "ui/list/PackageCards.h"
#include "components/WidgetList.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WidgetTest.h"
#include "ui/list/PackageWidget.h"

#include <QScrollBar>
#include <QSignalSpy>

#include <algorithm>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Components::WidgetList;

namespace {

constexpr int RowHeight = 128;
/// The length up to which a list is filled at once.
constexpr int Short = 100;
constexpr int Long = 400;

} // namespace

class PackageCardsTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void shortListIsFilledAtOnce_data() { Rows<int>().row("empty", 0).row("short", Short); }

    void shortListIsFilledAtOnce()
    {
        const auto [length] = Rows<int>::current();
        QVERIFY(load(length));
        QSignalSpy finished(m_cards.get(), &PackageCards::complete);
        m_cards->rebuild();
        QCOMPARE(m_list->count(), length);
        QCOMPARE(cardCount(), length);
        QCOMPARE(finished.count(), 1);
        QVERIFY(m_list->isHidden());
        QVERIFY(!m_cards->cardOf(length + 1));
    }

    void longListHasAllRowsAtOnce()
    {
        QVERIFY(show(Long));
        QCOMPARE(m_list->count(), Long);
        QVERIFY(cardCount() < Short);
        QCOMPARE(firstSeen(), 0);
        QVERIFY(lastSeen() >= 600 / RowHeight - 1);
        for (int row = 0; row <= lastSeen(); ++row)
            QVERIFY(card(row));
        // The scroll bar covers the whole list.
        QVERIFY(m_list->verticalScrollBar()->maximum() > (Long - 10) * RowHeight);
        for (int row = 0; row < Long; ++row)
            QCOMPARE(m_list->item(row)->sizeHint().height(), RowHeight);
    }

    void longListIsCompleted()
    {
        QVERIFY(load(Long));
        m_cards->rebuild();
        QVERIFY(cardCount() < Long);
        QVERIFY(complete());
        for (int row = 0; row < Long; ++row)
            QCOMPARE(textOf(*card(row), "PackageName"), "package-%1"_s.arg(row + 1));
    }

    void cardsHaveTheirPlacesAndSizes()
    {
        QVERIFY(showWhole());
        for (int row = 0; row < Long; ++row) {
            m_list->scrollToItem(m_list->item(row));
            QCOMPARE(card(row)->geometry(), placeOf(row));
            QCOMPARE(m_list->item(row)->sizeHint().width(), card(row)->sizeHint().width());
            QVERIFY(card(row)->isVisible());
            QVERIFY(row == 0 || placeOf(row).top() >= card(row - 1)->geometry().bottom());
        }
    }

    void visibleCardsAreMadeFirst()
    {
        QVERIFY(show(Long));
        m_list->verticalScrollBar()->setValue(m_list->verticalScrollBar()->maximum());
        const int last = lastSeen();
        QCOMPARE(last, Long - 1);
        QVERIFY(!card(last));
        while (!card(last))
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QVERIFY(card(firstSeen()));
        // The cards in the middle are not visible and do not exist yet.
        QVERIFY(cardCount() < Long);
        QCOMPARE(card(last)->geometry(), placeOf(last));
    }

    void tabOrderIsThatOfTheRows()
    {
        QVERIFY(show(Long));
        for (const int value : {30000, 10000, 50000, 20000}) {
            m_list->verticalScrollBar()->setValue(value);
            QTRY_VERIFY(card(firstSeen()));
        }
        QVERIFY(complete());
        QWidget *next = child<QPushButton>(*card(0), "Download");
        for (int row = 0; row < Long; ++row) {
            for (const char *name : {"Download", "MoreDetail"}) {
                QCOMPARE(next, child<QPushButton>(*card(row), name));
                do
                    next = next->nextInFocusChain();
                while (next->focusPolicy() == Qt::NoFocus);
            }
        }
    }

    void requestedCardIsMade()
    {
        QVERIFY(show(Long));
        QVERIFY(!card(300));
        PackageWidget *asked = m_cards->cardOf(301);
        QVERIFY(asked);
        QCOMPARE(card(300), asked);
        QCOMPARE(asked->packageId(), 301);
        QVERIFY(!m_cards->cardOf(Long + 1));
        QVERIFY(complete());
        QCOMPARE(card(300), asked);
    }

    void endKeyMakesTheLastCard()
    {
        QVERIFY(show(Long));
        m_list->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_list.get()));
        child<QPushButton>(*card(0), "Download")->setFocus();
        m_list->setCurrentRow(0);
        QVERIFY(!card(Long - 1));
        QTest::keyClick(m_list.get(), Qt::Key_End);
        QVERIFY(card(Long - 1));
        QVERIFY(card(Long - 1)->isAncestorOf(m_list->focusWidget()));
    }

    void rebuildingDuringCreationStartsAgain()
    {
        QVERIFY(show(Long));
        const int first = cardCount();
        while (cardCount() == first)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QVERIFY(cardCount() < Long);
        const QPointer<PackageWidget> old = card(0);
        QSignalSpy finished(m_cards.get(), &PackageCards::complete);
        m_cards->rebuild();
        QVERIFY(!old || !old->isVisible());
        QTRY_VERIFY(!old);
        QVERIFY(finished.wait(20000));
        QCOMPARE(finished.count(), 1);
        QCOMPARE(cardCount(), Long);
        QVERIFY(m_list->isVisible());
    }

    void rebuildingACompleteListStartsAgain()
    {
        QVERIFY(showWhole());
        QVector<QPointer<PackageWidget>> old;
        for (int row = 0; row < Long; ++row)
            old.append(card(row));
        m_list->verticalScrollBar()->setValue(200 * RowHeight);
        m_cards->rebuild();
        QVERIFY(!old.contains(card(0)));
        QVERIFY(complete());
        QCOMPARE(textOf(*card(Long - 1), "PackageName"), "package-%1"_s.arg(Long));
        QTRY_COMPARE(old.count(nullptr), Long);
    }

    void errorOfACardOutOfViewIsShown_data()
    {
        Rows<int>().row("short list", Short).row("long list", Long);
    }

    /// The card is scrolled out of view, but its list is visible. The replaced card is ignored.
    void errorOfACardOutOfViewIsShown()
    {
        const auto [length] = Rows<int>::current();
        QVERIFY(show(length) && complete());
        m_cards->rebuild();
        QVERIFY(complete());
        QVERIFY(!card(length - 2)->isVisible());
        QVERIFY(showsErrors({length - 1}));
        m_list->hide();
        fail(length);
        QVERIFY(isQuiet());
    }

    void errorWithoutACardIsShown()
    {
        QVERIFY(show(Long));
        QVERIFY(!card(300) && !card(301));
        MessageBoxAnswers answers;
        expectError(answers, 301);
        fail(301);
        // A hidden list shows no errors.
        m_list->hide();
        fail(302);
        m_list->show();
        QVERIFY(answers.waitForAll() && complete());
        QVERIFY(!QApplication::activeModalWidget());
        for (const int row : {300, 301})
            QVERIFY(child<QPushButton>(*card(row), "Error"));
    }

    void errorIsShownOnceWhileItsCardIsMade()
    {
        QVERIFY(show(Long));
        QVERIFY(!card(300) && !card(301));
        MessageBoxAnswers answers;
        expectError(answers, 301);
        expectError(answers, 302);
        fail(301);
        QVERIFY(m_cards->cardOf(301));
        QVERIFY(m_cards->cardOf(302));
        fail(302);
        QVERIFY(answers.waitForAll() && complete());
        QVERIFY(!QApplication::activeModalWidget());
    }

    /// The replaced card does not report the error, and neither does its successor.
    void errorIsShownOnceWhileCardsAreReplaced()
    {
        QVERIFY(showWhole());
        const QPointer<PackageWidget> old = card(1);
        const QPointer<PackageWidget> oldFarAway = card(300);
        m_cards->rebuild();
        QVERIFY(old && oldFarAway && card(1) && !card(300));
        QVERIFY(showsErrors({301, 2}));
        QTRY_VERIFY(!old && !oldFarAway);
        QVERIFY(!QApplication::activeModalWidget());
        QCOMPARE(child<QPushButton>(*card(300), "Error")->text(), "Install Error"_s);
    }

    void errorIsShownAlthoughCardsAreReplaced()
    {
        QVERIFY(show(Long));
        QVERIFY(!card(300));
        QVERIFY(showsErrors({301, 2}, [this] { m_cards->rebuild(); }));
    }

    void packageNotOnOfferShowsNoError_data()
    {
        Rows<bool>().row("with a card", true).row("without a card", false);
    }

    void packageNotOnOfferShowsNoError()
    {
        const auto [withCard] = Rows<bool>::current();
        QVERIFY(show(Long));
        QVERIFY(!withCard || complete());
        const QPointer<PackageWidget> old = card(300);
        QCOMPARE(!old.isNull(), withCard);
        const PackagePointer failing = package(301);
        // There are no packages while the catalogue is loading.
        controller().refresh();
        m_cards->rebuild();
        QVERIFY(m_list->isVisible());
        QCOMPARE(!old.isNull(), withCard);
        const MessageBoxAnswers answers;
        failing->setState(Package::INSTALL_ERROR);
        QVERIFY(isQuiet());
    }

    void newWidthAppliesAfterScrolling()
    {
        QVERIFY(showWhole());
        m_list->resize(800, 600);
        QTRY_COMPARE(card(0)->width(), placeOf(0).width());
        m_list->verticalScrollBar()->setValue(200 * RowHeight);
        QVERIFY(firstSeen() > 100);
        for (int row = firstSeen(); row <= lastSeen(); ++row)
            QCOMPARE(card(row)->geometry(), placeOf(row));
    }

private:
    void tearDown() override
    {
        m_cards.reset();
        m_list.reset();
    }
    /// Loads a catalogue with this many packages and creates a list of 1000 by 600 pixels.
    bool load(int packages)
    {
        offerNamed(packages);
        m_list = std::make_unique<WidgetList>("PackageList"_s);
        m_list->resize(1000, 600);
        const bool loaded = refresh();
        m_cards = std::make_unique<PackageCards>(m_list.get(), shared());
        return loaded;
    }
    bool show(int packages)
    {
        if (!load(packages))
            return false;
        m_list->show();
        const bool shown = QTest::qWaitForWindowExposed(m_list.get());
        m_cards->rebuild();
        return shown;
    }
    bool showWhole() { return show(Long) && complete(); }
    PackageWidget *card(int row) const
    {
        return static_cast<PackageWidget *>(m_list->rowWidget(row));
    }
    QRect placeOf(int row) const { return m_list->visualItemRect(m_list->item(row)); }
    int firstSeen() const { return m_list->visibleRows().first(); }
    int lastSeen() const { return m_list->visibleRows().last(); }
    int cardCount() const
    {
        int count = 0;
        for (int row = 0; row < m_list->count(); ++row)
            count += card(row) ? 1 : 0;
        return count;
    }
    bool complete()
    {
        return cardCount() == m_list->count() ||
               QSignalSpy(m_cards.get(), &PackageCards::complete).wait(20000);
    }
    void fail(int id) { package(id)->setState(Package::INSTALL_ERROR); }
    /// Whether the errors of these packages are shown once each.
    bool showsErrors(
        std::initializer_list<int> ids, const std::function<void()> &meanwhile = [] {})
    {
        MessageBoxAnswers answers;
        for (const int id : ids)
            expectError(answers, id);
        for (const int id : ids)
            fail(id);
        meanwhile();
        return answers.waitForAll() && complete() && !QApplication::activeModalWidget();
    }

    std::unique_ptr<WidgetList> m_list;
    std::unique_ptr<PackageCards> m_cards;
};

KAVO_TEST_MAIN(PackageCardsTest)
#include "PackageCardsTest.moc"
