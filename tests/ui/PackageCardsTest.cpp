#include "ui/list/PackageCards.h"
#include "components/WidgetList.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/list/PackageWidget.h"

#include <QScrollBar>
#include <QSignalSpy>

#include <algorithm>
#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Components::WidgetList;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;

namespace {

constexpr int RowHeight = 128;
/// Lists up to this length are filled at once.
constexpr int Short = 100;
constexpr int Long = 400;

} // namespace

class PackageCardsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void cleanup();

    void shortListIsFilledAtOnce();
    void emptyListIsComplete();
    void rowsOfALongListStandAtOnce();
    void longListIsCompleted();
    void cardsHaveTheirPlacesAndSizes();
    void whatIsScrolledToComesFirst();
    void tabOrderIsThatOfTheRows();
    void cardThatIsAskedForIsMade();
    void keyboardGetsToAnEmptyRow();
    void rebuildingStartsAnew();
    void rebuildingAWholeListStartsAnew();
    void errorOfACardFarAwayIsTold_data();
    void errorOfACardFarAwayIsTold();
    void errorOfACardThatIsYetToComeIsTold();
    void errorIsToldOnceWhileItsCardIsMade();
    void errorIsToldOnceWhileCardsAreReplaced();
    void errorIsToldAlthoughCardsAreReplaced();
    void packageThatIsNotOnOfferTellsNoError_data();
    void packageThatIsNotOnOfferTellsNoError();
    void newWidthReachesWhatIsScrolledTo();

private:
    /// A catalogue with so many packages, loaded, and a list of 1000 by 600 pixels.
    void load(int packages);
    void show(int packages);
    PackageWidget *card(int row) const
    {
        return static_cast<PackageWidget *>(m_list->rowWidget(row));
    }
    int cardCount() const;
    bool complete();
    void expectError(MessageBoxAnswers &answers, int id) const
    {
        answers.expect(QStringLiteral("Install Error"),
                       QStringLiteral("Installation failed for package : package-%1").arg(id),
                       QMessageBox::Ok);
    }
    void fail(int id) { m_engine->package(id)->setState(Package::INSTALL_ERROR); }

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<WidgetList> m_list;
    std::unique_ptr<PackageCards> m_cards;
};

void PackageCardsTest::cleanup()
{
    m_cards.reset();
    m_list.reset();
    m_engine.reset();
}

void PackageCardsTest::load(int packages)
{
    m_engine = std::make_unique<Engine>();
    for (int id = 1; id <= packages; ++id) {
        const QJsonObject name{{QStringLiteral("en"), QStringLiteral("package-%1").arg(id)}};
        m_engine->offerObject({{QStringLiteral("id"), id}, {QStringLiteral("name"), name}});
    }
    QVERIFY(m_engine->refresh());
    m_list = std::make_unique<WidgetList>(QStringLiteral("PackageList"));
    m_list->resize(1000, 600);
    m_cards = std::make_unique<PackageCards>(m_list.get(), sharedController(*m_engine));
}

void PackageCardsTest::show(int packages)
{
    load(packages);
    m_list->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_list.get()));
    m_cards->rebuild();
}

int PackageCardsTest::cardCount() const
{
    int count = 0;
    for (int row = 0; row < m_list->count(); ++row) {
        if (card(row))
            ++count;
    }
    return count;
}

bool PackageCardsTest::complete()
{
    if (cardCount() == m_list->count())
        return true;
    QSignalSpy finished(m_cards.get(), &PackageCards::complete);
    return finished.wait(20000);
}

void PackageCardsTest::shortListIsFilledAtOnce()
{
    load(Short);
    QSignalSpy finished(m_cards.get(), &PackageCards::complete);
    m_cards->rebuild();
    QCOMPARE(cardCount(), Short);
    QCOMPARE(finished.count(), 1);
    QVERIFY(m_list->isHidden());
}

void PackageCardsTest::emptyListIsComplete()
{
    load(0);
    QSignalSpy finished(m_cards.get(), &PackageCards::complete);
    m_cards->rebuild();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(m_list->count(), 0);
    QVERIFY(!m_cards->cardOf(1));
}

void PackageCardsTest::rowsOfALongListStandAtOnce()
{
    show(Long);
    QCOMPARE(m_list->count(), Long);
    QVERIFY(cardCount() < Short);
    const int first = m_list->visibleRows().first();
    const int last = m_list->visibleRows().last();
    QCOMPARE(first, 0);
    QVERIFY(last >= 600 / RowHeight - 1);
    for (int row = first; row <= last; ++row)
        QVERIFY(card(row));
    // The scroll bar knows the whole list.
    QVERIFY(m_list->verticalScrollBar()->maximum() > (Long - 10) * RowHeight);
    for (int row = 0; row < Long; ++row)
        QCOMPARE(m_list->item(row)->sizeHint().height(), RowHeight);
}

void PackageCardsTest::longListIsCompleted()
{
    load(Long);
    m_cards->rebuild();
    QVERIFY(cardCount() < Long);
    QVERIFY(complete());
    for (int row = 0; row < Long; ++row)
        QCOMPARE(textOf(*card(row), "PackageName"), QStringLiteral("package-%1").arg(row + 1));
}

void PackageCardsTest::cardsHaveTheirPlacesAndSizes()
{
    show(Long);
    QVERIFY(complete());
    for (int row = 0; row < Long; ++row) {
        m_list->scrollToItem(m_list->item(row));
        const QRect place = m_list->visualItemRect(m_list->item(row));
        QCOMPARE(card(row)->geometry(), place);
        QCOMPARE(m_list->item(row)->sizeHint().width(), card(row)->sizeHint().width());
        QVERIFY(card(row)->isVisible());
        QVERIFY(row == 0 || place.top() >= card(row - 1)->geometry().bottom());
    }
}

void PackageCardsTest::whatIsScrolledToComesFirst()
{
    show(Long);
    m_list->verticalScrollBar()->setValue(m_list->verticalScrollBar()->maximum());
    const int first = m_list->visibleRows().first();
    const int last = m_list->visibleRows().last();
    QCOMPARE(last, Long - 1);
    QVERIFY(!card(last));
    while (!card(last))
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QVERIFY(card(first));
    // The middle is not there yet, because nobody looks at it.
    QVERIFY(cardCount() < Long);
    QCOMPARE(card(last)->geometry(), m_list->visualItemRect(m_list->item(last)));
}

void PackageCardsTest::tabOrderIsThatOfTheRows()
{
    show(Long);
    for (const int value : {30000, 10000, 50000, 20000}) {
        m_list->verticalScrollBar()->setValue(value);
        const int row = m_list->visibleRows().first();
        QTRY_VERIFY(card(row));
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

void PackageCardsTest::cardThatIsAskedForIsMade()
{
    show(Long);
    QVERIFY(!card(300));
    PackageWidget *asked = m_cards->cardOf(301);
    QVERIFY(asked);
    QCOMPARE(card(300), asked);
    QCOMPARE(asked->packageId(), 301);
    QVERIFY(!m_cards->cardOf(Long + 1));
    QVERIFY(complete());
    QCOMPARE(card(300), asked);
}

void PackageCardsTest::keyboardGetsToAnEmptyRow()
{
    show(Long);
    m_list->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_list.get()));
    child<QPushButton>(*card(0), "Download")->setFocus();
    m_list->setCurrentRow(0);
    QVERIFY(!card(Long - 1));
    QTest::keyClick(m_list.get(), Qt::Key_End);
    QVERIFY(card(Long - 1));
    QVERIFY(card(Long - 1)->isAncestorOf(m_list->focusWidget()));
}

void PackageCardsTest::rebuildingStartsAnew()
{
    show(Long);
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

void PackageCardsTest::rebuildingAWholeListStartsAnew()
{
    show(Long);
    QVERIFY(complete());
    QVector<QPointer<PackageWidget>> old;
    for (int row = 0; row < Long; ++row)
        old.append(card(row));
    m_list->verticalScrollBar()->setValue(200 * RowHeight);
    m_cards->rebuild();
    QVERIFY(!old.contains(card(0)));
    QVERIFY(complete());
    QCOMPARE(textOf(*card(Long - 1), "PackageName"), QStringLiteral("package-%1").arg(Long));
    QTRY_VERIFY(std::all_of(old.cbegin(), old.cend(),
                            [](const QPointer<PackageWidget> &card) { return card.isNull(); }));
}

void PackageCardsTest::errorOfACardFarAwayIsTold_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("short list") << Short;
    QTest::newRow("long list") << Long;
}

/// Hidden as it is, it belongs to a list that is shown; its old one does not any more.
void PackageCardsTest::errorOfACardFarAwayIsTold()
{
    QFETCH(int, length);
    show(length);
    QVERIFY(complete());
    m_cards->rebuild();
    QVERIFY(complete());
    QVERIFY(!card(length - 2)->isVisible());
    MessageBoxAnswers answers;
    expectError(answers, length - 1);
    fail(length - 1);
    QVERIFY(answers.waitForAll());
    m_list->hide();
    fail(length);
    QCoreApplication::sendPostedEvents();
    QVERIFY(!QApplication::activeModalWidget());
}

void PackageCardsTest::errorOfACardThatIsYetToComeIsTold()
{
    show(Long);
    QVERIFY(!card(300) && !card(301));
    MessageBoxAnswers answers;
    expectError(answers, 301);
    fail(301);
    // A hidden list tells nothing.
    m_list->hide();
    fail(302);
    m_list->show();
    QVERIFY(answers.waitForAll());
    QVERIFY(complete());
    QVERIFY(!QApplication::activeModalWidget());
    for (const int row : {300, 301})
        QVERIFY(child<QPushButton>(*card(row), "Error"));
}

void PackageCardsTest::errorIsToldOnceWhileItsCardIsMade()
{
    show(Long);
    QVERIFY(!card(300) && !card(301));
    MessageBoxAnswers answers;
    expectError(answers, 301);
    expectError(answers, 302);
    fail(301);
    QVERIFY(m_cards->cardOf(301));
    QVERIFY(m_cards->cardOf(302));
    fail(302);
    QVERIFY(answers.waitForAll());
    QVERIFY(complete());
    QVERIFY(!QApplication::activeModalWidget());
}

/// Neither by the card that goes nor by the one that comes later and finds the error.
void PackageCardsTest::errorIsToldOnceWhileCardsAreReplaced()
{
    show(Long);
    QVERIFY(complete());
    const QPointer<PackageWidget> old = card(1);
    const QPointer<PackageWidget> oldFarAway = card(300);
    m_cards->rebuild();
    QVERIFY(old && oldFarAway && card(1) && !card(300));
    MessageBoxAnswers answers;
    expectError(answers, 301);
    expectError(answers, 2);
    fail(301);
    fail(2);
    QVERIFY(answers.waitForAll());
    QVERIFY(complete());
    QTRY_VERIFY(!old && !oldFarAway);
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(child<QPushButton>(*card(300), "Error")->text(), QStringLiteral("Install Error"));
}

void PackageCardsTest::errorIsToldAlthoughCardsAreReplaced()
{
    show(Long);
    QVERIFY(!card(300));
    MessageBoxAnswers answers;
    expectError(answers, 301);
    expectError(answers, 2);
    fail(301);
    fail(2);
    m_cards->rebuild();
    QVERIFY(answers.waitForAll());
    QVERIFY(complete());
    QVERIFY(!QApplication::activeModalWidget());
}

void PackageCardsTest::packageThatIsNotOnOfferTellsNoError_data()
{
    QTest::addColumn<bool>("withCard");
    QTest::newRow("with a card") << true;
    QTest::newRow("without a card") << false;
}

void PackageCardsTest::packageThatIsNotOnOfferTellsNoError()
{
    QFETCH(bool, withCard);
    show(Long);
    QVERIFY(!withCard || complete());
    const QPointer<PackageWidget> old = card(300);
    QCOMPARE(!old.isNull(), withCard);
    const auto package = m_engine->package(301);
    // While the catalogue is on its way nothing is on offer.
    m_engine->controller().refresh();
    m_cards->rebuild();
    QVERIFY(m_list->isVisible());
    QCOMPARE(!old.isNull(), withCard);
    const MessageBoxAnswers answers;
    package->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.shown().isEmpty());
}

void PackageCardsTest::newWidthReachesWhatIsScrolledTo()
{
    show(Long);
    QVERIFY(complete());
    m_list->resize(800, 600);
    QTRY_COMPARE(card(0)->width(), m_list->visualItemRect(m_list->item(0)).width());
    m_list->verticalScrollBar()->setValue(200 * RowHeight);
    const int first = m_list->visibleRows().first();
    const int last = m_list->visibleRows().last();
    QVERIFY(first > 100);
    for (int row = first; row <= last; ++row)
        QCOMPARE(card(row)->geometry(), m_list->visualItemRect(m_list->item(row)));
}

KAVO_TEST_MAIN(PackageCardsTest)
#include "PackageCardsTest.moc"
