#include "components/WidgetList.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WindowTest.h"
#include "ui/list/PackageFilter.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/window/PackageSidebar.h"

#include <QAccessible>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>

using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;
using Kavo::Ui::PackageFilter;
using Kavo::Ui::PackageProcessingWidget;
using Kavo::Ui::PackageSidebar;
using Kavo::Ui::PackageWidget;
using Ids = QVector<int>;

Q_DECLARE_METATYPE(std::function<void()>)

namespace {

/// The length of a list that is filled in turns of the event loop.
constexpr int Many = 400;

QString spokenDescription(QWidget &widget)
{
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Description);
}

} // namespace

/// Tests the search in the real window, from the keys to the visible cards.
class SearchTest final : public WindowTest
{
    Q_OBJECT

private slots:
    // What is found

    void typingFiltersTheList()
    {
        offerNamed(1, "Häfen"_s, "Lights for every pier"_s);
        offerNamed(2, "Jetways"_s, "Every gate has one"_s);
        offerNamed(3, "Piers"_s);
        QVERIFY(openRead(0, true));
        QCOMPARE(seen(), Ids({1, 2, 3}));
        field().setFocus();
        type("e");
        type("v");
        QCOMPARE(seen(), Ids({1, 2}));
        type("ery PIE");
        QCOMPARE(field().text(), "every PIE"_s);
        QCOMPARE(seen(), Ids({1}));
        QCOMPARE(list().rowWidget(0)->y(), list().spacing());
        search("hafen");
        QCOMPARE(seen(), Ids({1}));
        search("pier");
        QCOMPARE(seen(), Ids({1, 3}));
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_Backspace);
        QCOMPARE(seen(), Ids({1, 2, 3}));
    }

    void panelShowsThatNothingMatches()
    {
        QVERIFY(openRead(3, true));
        const auto *sidebar = window().findChild<PackageSidebar *>();
        // The list returns as soon as there is a match.
        for (const char *text : {"jetways", "etways", "etway", "etwa", "etw", "et"}) {
            search(text);
            QVERIFY(showsNoMatches());
            QVERIFY(!sidebar->isVisible());
            QVERIFY(field().hasFocus());
        }
        press(Qt::Key_Backspace);
        QCOMPARE(seen(), Ids({1, 2, 3}));
        QVERIFY(!panel().isVisible());
        QVERIFY(sidebar->isVisible());
    }

    void emptyCatalogueHasNoMatches()
    {
        QVERIFY(openRead(0, true));
        QVERIFY(list().isVisible() && !panel().isVisible());
        field().setText("pier"_s);
        QVERIFY(showsNoMatches());
        field().clear();
        QVERIFY(list().isVisible() && !panel().isVisible());
    }

    // From the field to the cards

    void returnFocusesTheFirstMatch_data()
    {
        Rows<std::function<void()>>()
            .row("Return", [this] { press(Qt::Key_Return); })
            .row("Enter", [this] { press(Qt::Key_Enter); })
            .row("button", [this] { QTest::mouseClick(&button(), Qt::LeftButton); });
    }

    void returnFocusesTheFirstMatch()
    {
        const auto [confirm] = Rows<std::function<void()>>::current();
        QVERIFY(openMany(true));
        search("package-33");
        QCOMPARE(listed(), Ids({33, 330, 331, 332, 333, 334, 335, 336, 337, 338, 339}));
        confirm();
        QCOMPARE(focusedName(), "More Detail: package-33"_s);
        // Tab visits the filtered list.
        press(Qt::Key_Tab);
        QCOMPARE(focusedName(), "Download: package-330"_s);
        press(Qt::Key_Tab);
        press(Qt::Key_Return);
        QCOMPARE(textOf(window(), "DetailTitle"), "package-330"_s);
    }

    void focusStaysWithoutAMatch()
    {
        QVERIFY(openRead(3, true));
        search("jetways");
        press(Qt::Key_Return);
        QVERIFY(field().hasFocus());
        QTest::mouseClick(&button(), Qt::LeftButton);
        QVERIFY(showsNoMatches());
        // The focus does not move while the list is loading, nor when it arrives.
        field().setText("package"_s);
        emit controller().busy();
        field().setFocus();
        press(Qt::Key_Return);
        QVERIFY(field().hasFocus());
        emit controller().list();
        QCOMPARE(seen(), Ids({1, 2, 3}));
        QVERIFY(field().hasFocus());
    }

    // The end of a search

    void escapeClears()
    {
        QVERIFY(openRead(3, true));
        search("2");
        QCOMPARE(seen(), Ids({2}));
        press(Qt::Key_Escape);
        QVERIFY(field().text().isEmpty());
        QCOMPARE(seen(), Ids({1, 2, 3}));
        QVERIFY(field().hasFocus());
    }

    void escapeInTheListClearsAndKeepsTheCard()
    {
        QVERIFY(openMany(true));
        search("package-333");
        press(Qt::Key_Return);
        const QWidget *focused = QApplication::focusWidget();
        QCOMPARE(focusedName(), "More Detail: package-333"_s);
        press(Qt::Key_Escape);
        QVERIFY(field().text().isEmpty());
        QCOMPARE(listed().size(), Many);
        QCOMPARE(QApplication::focusWidget(), focused);
        QVERIFY(seen().contains(333));
        QVERIFY(!seen().contains(1));
        // Tab continues at this card.
        press(Qt::Key_Tab);
        QCOMPARE(focusedName(), "Download: package-334"_s);
    }

    void clearingRestoresTheScrollPosition()
    {
        QVERIFY(openMany(true));
        QScrollBar *bar = list().verticalScrollBar();
        bar->setValue(20000);
        field().setFocus();
        type("1");
        QCOMPARE(bar->value(), 0);
        QCOMPARE(seen().first(), 1);
        bar->setValue(500);
        type("2");
        QCOMPARE(bar->value(), 0);
        QCOMPARE(seen().first(), 12);
        type("nothing");
        QVERIFY(showsNoMatches());
        press(Qt::Key_Escape);
        QCOMPARE(bar->value(), 20000);
    }

    // A hidden search

    void keysShowAHiddenSearch_data()
    {
        Rows<int, Qt::KeyboardModifiers>()
            .row("Ctrl+F", Qt::Key_F, Qt::ControlModifier)
            .row("Find", Qt::Key_Find, Qt::NoModifier)
            .row("Search", Qt::Key_Search, Qt::NoModifier);
    }

    void keysShowAHiddenSearch()
    {
        const auto [key, modifiers] = Rows<int, Qt::KeyboardModifiers>::current();
        QVERIFY(openRead(3));
        QVERIFY(isHidden());
        // press() does not support all of these keys.
        const auto pressKey = [key = key, modifiers = modifiers] {
            QTest::simulateEvent(QApplication::focusWidget(), true, key, modifiers, {}, false);
        };
        pressKey();
        QVERIFY(isShown() && field().hasFocus());
        type("2");
        QCOMPARE(seen(), Ids({2}));
        QVERIFY(!window().findChild<PackageSidebar *>()->isVisible());
        // The same keys select the text, so that typing replaces it.
        press(Qt::Key_Return);
        pressKey();
        QVERIFY(field().hasFocus());
        type("3");
        QCOMPARE(field().text(), "3"_s);
    }

    void typingInTheListShowsAHiddenSearch()
    {
        QVERIFY(openMany());
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
        type("package-22");
        QVERIFY(isShown() && field().hasFocus());
        QCOMPARE(field().text(), "package-22"_s);
        QCOMPARE(listed().first(), 22);
        QCOMPARE(listed().size(), 11);
    }

    /// The position of the cursor and the selection do not matter.
    void typingInTheListAppendsToTheText()
    {
        QVERIFY(openMany(true));
        search("22");
        press(Qt::Key_Home);
        press(Qt::Key_Return);
        QCOMPARE(focusedName(), "More Detail: package-22"_s);
        type("3");
        QCOMPARE(field().text(), "223"_s);
        QVERIFY(field().hasFocus());
        QCOMPARE(seen(), Ids({223}));
        press(Qt::Key_Backspace);
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_Return);
        QCOMPARE(focusedName(), "More Detail: package-22"_s);
        type("4");
        QCOMPARE(field().text(), "224"_s);
        QCOMPARE(seen(), Ids({224}));
    }

    void escapeHidesTheSearchAgain()
    {
        QVERIFY(openMany());
        type("2");
        press(Qt::Key_Escape);
        QVERIFY(isHidden());
        QVERIFY(field().text().isEmpty());
        QCOMPARE(listed().size(), Many);
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
        // Escape also works in an empty field and at the button.
        press(Qt::Key_F, Qt::ControlModifier);
        press(Qt::Key_Escape);
        QVERIFY(isHidden());
        press(Qt::Key_F, Qt::ControlModifier);
        press(Qt::Key_Tab);
        QVERIFY(button().hasFocus());
        press(Qt::Key_Escape);
        QVERIFY(isHidden());
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
        // Escape also works in the list.
        type("22");
        press(Qt::Key_Return);
        QCOMPARE(focusedName(), "More Detail: package-22"_s);
        press(Qt::Key_Escape);
        QVERIFY(isHidden());
        QCOMPARE(listed().size(), Many);
        QCOMPARE(focusedName(), "More Detail: package-22"_s);
        QVERIFY(seen().contains(22));
    }

    void permanentSearchStaysVisible()
    {
        QVERIFY(openRead(3, true));
        cardButton(0, "MoreDetail")->setFocus();
        type("2");
        press(Qt::Key_Escape);
        QVERIFY(isShown() && field().hasFocus());
    }

    void otherKeysOfACardKeepTheirMeaning()
    {
        QVERIFY(openRead(3));
        press(Qt::Key_X, Qt::AltModifier);
        press(Qt::Key_X, Qt::ControlModifier);
        press(Qt::Key_Escape);
        press(Qt::Key_Down);
        QVERIFY(isHidden());
        openDetail(0);
        QVERIFY(showsDetail());
        // Typing in the detail view does not search.
        type("x");
        QVERIFY(isHidden());
        QVERIFY(showsDetail());
    }

    // A search during other events

    void refreshKeepsTheSearch()
    {
        QVERIFY(openRead(5));
        type("package-2");
        press(Qt::Key_Return);
        QCOMPARE(seen(), Ids({2}));
        offer(20);
        QVERIFY(refresh());
        QCOMPARE(field().text(), "package-2"_s);
        QVERIFY(isShown());
        QTRY_COMPARE(seen(), Ids({2, 20}));
        QCOMPARE(focusedName(), "More Detail: package-2"_s);
        press(Qt::Key_Escape);
        QCOMPARE(listed().size(), 6);
    }

    void refreshWithoutMatchesShowsThePanel()
    {
        QVERIFY(openRead(3, true));
        setState(2, Package::INSTALLED, true);
        search("update");
        QCOMPARE(seen(), Ids({2}));
        press(Qt::Key_Return);
        // The new package objects are not installed.
        QVERIFY(refresh());
        QTRY_VERIFY(showsNoMatches());
        QCOMPARE(focusedName(), "Refresh"_s);
        field().clear();
        QCOMPARE(seen(), Ids({1, 2, 3}));
    }

    void searchWhileTheCatalogueIsLoading()
    {
        QVERIFY(openMany(true));
        QSignalSpy listedNow(&controller(), &PackageController::list);
        controller().refresh();
        field().setText("package-39"_s);
        // The panel still shows that the catalogue is loading.
        QVERIFY(panel().isVisible() && !list().isVisible());
        QVERIFY(!textOf(panel(), "ProcessingMessage").contains("No items"_s));
        QVERIFY(listedNow.wait());
        QTRY_COMPARE(listed().size(), 11);
        QCOMPARE(listed().first(), 39);
        QCOMPARE(listedNow.size(), 1);
    }

    void searchOnAnErrorPageChangesNothing()
    {
        QVERIFY(openRead(3, true));
        emit controller().error("Server Error"_s);
        for (const QString &text : {"2"_s, "nothing"_s, QString(), "2"_s}) {
            field().setText(text);
            QVERIFY(panel().isVisible() && !list().isVisible());
            QCOMPARE(textOf(panel(), "ProcessingMessage"), "Server Error"_s);
        }
        emit controller().list();
        QCOMPARE(seen(), Ids({2}));
    }

    void backReturnsToTheFilteredList()
    {
        QVERIFY(openMany(true));
        field().setText("package-1"_s);
        QScrollBar *bar = list().verticalScrollBar();
        bar->setValue(2000);
        const Ids before = seen();
        QVERIFY(before.size() > 3);
        const int id = before.at(1);
        QPushButton *opener = cardButton(id - 1, "MoreDetail");
        QTest::mouseClick(opener, Qt::LeftButton);
        QVERIFY(showsDetail());
        // A change of state in between has no effect.
        setState(id, Package::INSTALLED);
        press(Qt::Key_Escape);
        QVERIFY(!showsDetail());
        QCOMPARE(field().text(), "package-1"_s);
        QCOMPARE(bar->value(), 2000);
        QCOMPARE(seen(), before);
        QVERIFY(opener->hasFocus());
    }

    void searchInTheDetailShowsTheList()
    {
        QVERIFY(openRead(3));
        openDetail(0);
        press(Qt::Key_F, Qt::ControlModifier);
        QVERIFY(field().hasFocus() && showsDetail());
        type("3");
        QVERIFY(!showsDetail());
        QCOMPARE(seen(), Ids({3}));
        QVERIFY(field().hasFocus());
        // The package that was open is not in the list and does not get the focus.
        press(Qt::Key_Return);
        openDetail(2);
        field().setText("nothing"_s);
        QVERIFY(showsNoMatches());
        QVERIFY(!showsDetail());
    }

    void returnInTheDetailShowsTheMatches()
    {
        QVERIFY(openRead(3, true));
        field().setText("package"_s);
        openDetail(2);
        press(Qt::Key_F, Qt::ControlModifier);
        press(Qt::Key_Return);
        QVERIFY(!showsDetail());
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
    }

    void changedPackageStaysUntilTheNextSearch()
    {
        QVERIFY(openRead(3, true));
        setState(1, Package::INSTALLED, true);
        setState(3, Package::INSTALLED, true);
        field().setText("updat"_s);
        QCOMPARE(seen(), Ids({1, 3}));
        setState(1, Package::PREPARING, true);
        QCoreApplication::processEvents();
        QCOMPARE(seen(), Ids({1, 3}));
        // The card shows the new state nevertheless.
        QCOMPARE(cardButton(0, "Busy")->text(), "Preparing"_s);
        field().setText("update"_s);
        QCOMPARE(seen(), Ids({3}));
    }

    void errorOfAFilteredPackageIsShown()
    {
        QVERIFY(openRead(3, true));
        field().setText("package-2"_s);
        MessageBoxAnswers answers;
        expectError(answers, 1);
        setState(1, Package::INSTALL_ERROR);
        QVERIFY(answers.waitForAll());
    }

    // Long lists

    void longListIsSearchedBeforeItsCardsExist()
    {
        offerNamed(3000);
        QVERIFY(open(true));
        QVERIFY(!list().rowWidget(2998));
        // Reading has not finished, so "No items found" is not shown.
        bool isGivenUp = false;
        connect(window().findChild<PackageFilter *>(), &PackageFilter::advanced, this,
                [this, &isGivenUp] { isGivenUp = isGivenUp || showsNoMatches(); });
        field().setFocus();
        field().setText("package-2999"_s);
        QVERIFY(!showsNoMatches());
        QTRY_COMPARE(seen(), Ids({2999}));
        QVERIFY(!isGivenUp);
        press(Qt::Key_Return);
        QCOMPARE(focusedName(), "More Detail: package-2999"_s);
    }

    void detailStaysWhileALongListIsRead()
    {
        offerNamed(3000);
        QVERIFY(open(true));
        field().setText("package"_s);
        openDetail(0);
        QVERIFY(isRead());
        QVERIFY(showsDetail() && !list().isVisible());
        press(Qt::Key_Escape);
        QCOMPARE(listed().size(), 3000);
    }

    void cardsOfALongListAreMadeWhileItIsFiltered()
    {
        offerNamed(Many);
        QVERIFY(open(true));
        QVERIFY(!list().rowWidget(200));
        field().setText("package-39"_s);
        QTRY_COMPARE(window().findChildren<PackageWidget *>().size(), Many);
        // Cards that do not match are hidden.
        for (const PackageWidget *card : window().findChildren<PackageWidget *>()) {
            const bool found = QByteArray::number(card->packageId()).startsWith("39");
            QVERIFY(found || !card->isVisible());
        }
        field().clear();
        QCOMPARE(seen().first(), 1);
    }

    // Screen readers

    void numberOfMatchesIsAccessible()
    {
        QVERIFY(openRead(30, true));
        QVERIFY(!spokenDescription(field()).contains("packages"_s));
        search("package-3");
        QCOMPARE(spokenDescription(field()), "2 of 30 packages"_s);
        QCOMPARE(spokenDescription(list()), "2 of 30 packages"_s);
        type("x");
        QCOMPARE(spokenDescription(field()), "0 of 30 packages"_s);
        QCOMPARE(spokenName(&panel()), "No items found"_s);
        press(Qt::Key_Escape);
        QVERIFY(!spokenDescription(field()).contains("packages"_s));
    }

private:
    bool isRead()
    {
        const auto *filter = window().findChild<PackageFilter *>();
        return QTest::qWaitFor([filter] { return filter->isComplete(); }, 60000);
    }
    /// Shows the window and waits until all texts have been read.
    bool openRead(int packages, bool filter = false)
    {
        return openWith(packages, filter) && isRead();
    }
    bool openMany(bool filter = false)
    {
        offerNamed(Many);
        return openRead(0, filter);
    }

    /// Sends the keys to the focused widget.
    void type(const char *text)
    {
        for (; *text; ++text)
            QTest::keyClick(window().windowHandle(), *text);
    }
    /// Replaces the text in the field by typing.
    void search(const char *text)
    {
        field().setFocus();
        press(Qt::Key_A, Qt::ControlModifier);
        type(text);
    }

    QLineEdit &field() const { return *child<QLineEdit>(window(), "SearchField"); }
    QPushButton &button() const { return *allChildren<QPushButton>(window(), "TopButton").first(); }
    bool isShown() const { return field().isVisible() && button().isVisible(); }
    bool isHidden() const { return !field().isVisible() && !button().isVisible(); }
    PackageProcessingWidget &panel() const
    {
        return *child<QWidget>(window(), "PackageContainer")
                    ->findChild<PackageProcessingWidget *>({}, Qt::FindDirectChildrenOnly);
    }
    bool showsNoMatches() const
    {
        return panel().isVisible() && !list().isVisible() &&
               textOf(panel(), "ProcessingMessage") == "No items found"_s;
    }
    /// Ids of the listed packages; empty if the list is hidden.
    Ids listed()
    {
        Ids ids;
        const auto packages = controller().packages();
        for (int row = 0; list().isVisible() && row < list().count(); ++row) {
            if (list().isListed(row))
                ids.append(packages.at(row)->id());
        }
        return ids;
    }
    /// Ids of the visible cards, from top to bottom.
    Ids seen() const
    {
        QMap<int, int> ids;
        for (const PackageWidget *card : window().findChildren<PackageWidget *>()) {
            if (!card->visibleRegion().isEmpty())
                ids.insert(card->y(), card->packageId());
        }
        return ids.values().toVector();
    }
};

KAVO_TEST_MAIN(SearchTest)
#include "SearchTest.moc"
