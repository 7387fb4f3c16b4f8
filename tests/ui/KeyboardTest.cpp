#include "components/WidgetList.h"
#include "dialogs/SettingsDialog.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WindowTest.h"

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTabWidget>

#include <algorithm>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Controllers::ApplicationController;
using Kavo::Controllers::PackageController;
using Kavo::Dialogs::SettingsDialog;

namespace {

template<class List>
List reversed(List list)
{
    std::reverse(list.begin(), list.end());
    return list;
}

/// Whether the widget is fully visible. A scroll area may be visible in part.
bool isSeen(const QWidget &widget)
{
    const QRect seen = widget.visibleRegion().boundingRect();
    return qobject_cast<const QAbstractScrollArea *>(&widget) ? !seen.isEmpty()
                                                              : seen == widget.rect();
}

} // namespace

/// Tests that every function can be used without a pointer and that the focus is where users expect
/// it.
class KeyboardTest final : public WindowTest
{
    Q_OBJECT

private slots:
    // Order

    void tabVisitsTheListInReadingOrder()
    {
        QVERIFY(openWith(3));
        QVERIFY(isWalked(topBar() + cards(3)));
        // Tab skips disabled buttons.
        package(1)->setState(Package::DOWNLOADING);
        QVERIFY(isWalked(topBar() + cards(3).mid(1)));
    }

    void tabVisitsTheFilterBeforeTheCards()
    {
        QVERIFY(openWith(2, true));
        const auto seen = walkAround(window());
        QCOMPARE(seen.value(1)->objectName(), "SearchField"_s);
        QCOMPARE(seen.value(9)->objectName(), "CategoryChoice"_s);
        QCOMPARE(seen.value(10)->objectName(), "TypeChoice"_s);
        QVERIFY(isWalked(topBar(true) + filter() + cards(2)));
        offer(3);
        QVERIFY(refresh());
        QVERIFY(isWalked(topBar(true) + filter() + cards(3)));
    }

    void tabVisitsTheDetailInReadingOrder_data()
    {
        const QStringList back{"Back"_s};
        const QStringList carousel{"Previous picture"_s, "Next picture"_s};
        const QStringList bar{"Download"_s, "Get Help"_s, "Manual"_s};
        const QStringList description{"Description"_s, "Description"_s, "Page"_s};
        const QStringList changes{"Change log"_s, "Change log"_s, "Page"_s};
        const QStringList versions{"Old versions"_s, "Download: 2.0"_s, "Download: 1.0"_s,
                                   "Page"_s};
        Rows<int, int, QStringList>()
            .row("description", 0, 2, back + carousel + bar + description)
            .row("change log", 1, 2, back + carousel + bar + changes)
            .row("old versions", 2, 2, back + carousel + bar + versions)
            .row("no banners", 0, 0, back + bar + description);
    }

    void tabVisitsTheDetailInReadingOrder()
    {
        const auto [page, banners, parts] = Rows<int, int, QStringList>::current();
        offer(1, banners);
        offer(2);
        QVERIFY(open(true));
        // Some parts are created again for every package.
        openDetail(1);
        press(Qt::Key_Escape);
        openDetail(0);
        turnTo(page);
        QVERIFY(isWalked(topBar(true) + parts));
        setState(1, Package::INSTALLED, true);
        QStringList installed = parts;
        const int action = parts.indexOf("Download"_s);
        installed.replace(action, "Update"_s);
        installed.insert(action + 1, "Uninstall"_s);
        QVERIFY(isWalked(topBar(true) + installed));
    }

    void tabVisitsTheSettingsInReadingOrder()
    {
        const QVector<QStringList> pages{{"General"_s, "English"_s},
                                         {"Paths"_s, "Browse: X-Plane"_s, "Browse: Cache"_s,
                                          "Browse: Preserve"_s, "Browse: Backup"_s},
                                         {"Disk Usage"_s}};
        QVERIFY(open());
        for (int page = 0; page < pages.size(); ++page) {
            const auto dialog = openSettings(page);
            QVERIFY(dialog);
            QCOMPARE(child<QTabWidget>(*dialog, "SettingsTabs")->count(), pages.size());
            // The tab bar has the focus, so keys switch the pages.
            QCOMPARE(focusedName(), pages.at(page).first());
            const auto seen = walkAround(*dialog);
            QCOMPARE(spokenNames(seen), pages.at(page) + QStringList({"Ok"_s, "Cancel"_s}));
            for (QWidget *widget : seen)
                QVERIFY2(isSeen(*widget), qPrintable(spokenName(widget)));
            QCOMPARE(walkAround(*dialog, true), reversed(seen));
        }
    }

    // Scrolling

    void focusedCardIsScrolledIntoView_data() { directions(); }
    void focusedCardIsScrolledIntoView()
    {
        const auto [backwards] = Rows<bool>::current();
        QVERIFY(openWith(30));
        const int steps = walkAround(window(), backwards).size();
        QCOMPARE(steps, topBar().size() + cards(30).size());
        // The second walk checks the position after every step.
        for (int step = 0; step < steps; ++step) {
            QVERIFY2(seesNext(backwards), qPrintable(focusedName()));
            const QWidget *focused = QApplication::focusWidget();
            QVERIFY2(!list().isAncestorOf(focused) || isSeen(*focused->parentWidget()),
                     qPrintable(focusedName()));
        }
    }

    void focusedPartOfTheDetailIsScrolledIntoView_data() { directions(); }
    void focusedPartOfTheDetailIsScrolledIntoView()
    {
        const auto [backwards] = Rows<bool>::current();
        offer(1, 2);
        // Much of the page is scrolled out of this window.
        QVERIFY(open(false, QSize(1320, 500)));
        openDetail(0);
        auto *page = child<QAbstractScrollArea>(window(), "DetailScroll");
        QVERIFY(page->verticalScrollBar()->maximum() > 100);
        for (int tab : {0, 2}) {
            turnTo(tab);
            for (int steps = walkAround(window(), backwards).size(); steps > 0; --steps)
                QVERIFY2(seesNext(backwards), qPrintable(focusedName()));
        }
    }

    void clickScrollsNothing()
    {
        QVERIFY(openWith(20));
        QScrollBar *bar = list().verticalScrollBar();
        const int half = 64;
        bar->setValue(half);
        QPushButton *button = cardButton(0, "MoreDetail");
        QVERIFY(!isSeen(*button->parentWidget()));
        QTest::mousePress(button, Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), button);
        QCOMPARE(bar->value(), half);
        QTest::mouseRelease(button, Qt::LeftButton);
        QVERIFY(showsDetail());
    }

    void pageKeysMoveTheFocus()
    {
        QVERIFY(openWith(40));
        cardButton(10, "MoreDetail")->setFocus();
        const auto focusedRow = [this] {
            for (int row = 0; row < list().count(); ++row) {
                if (list().rowWidget(row)->isAncestorOf(QApplication::focusWidget()))
                    return row;
            }
            return -1;
        };
        const int page = list().viewport()->height() / 136;
        press(Qt::Key_PageDown);
        QVERIFY(page > 3);
        QVERIFY(focusedRow() >= 10 + page - 1 && focusedRow() <= 10 + page);
        QVERIFY(isSeen(*QApplication::focusWidget()));
        press(Qt::Key_End);
        QVERIFY(isFocusedAndSeen("Download: package-40"_s));
        press(Qt::Key_Home);
        QVERIFY(isFocusedAndSeen("Download: package-1"_s));
    }

    // Pressing

    void keysPressEveryButton()
    {
        offer(1, 2);
        QVERIFY(open(true));
        setState(1, Package::INSTALLED, true);
        // The first "Search" is the field, not a button.
        QStringList expected = topBar(true);
        expected.removeAt(1);
        expected << "Back"_s
                 << "Previous picture"_s
                 << "Next picture"_s
                 << "Update"_s
                 << "Uninstall"_s
                 << "Get Help"_s
                 << "Manual"_s
                 << "Download: 2.0"_s
                 << "Download: 1.0"_s;
        for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
            emit controller().detail(package(1));
            turnTo(2);
            QCOMPARE(pressedOf(walkAround(window()), key), expected);
            emit controller().list();
            const int inCards = topBar(true).size() + filter().size();
            QCOMPARE(pressedOf(walkAround(window()).mid(inCards), key),
                     QStringList({"Update: package-1"_s, "More Detail: package-1"_s}));
        }
    }

    void returnInTheSettingsPressesWhatHasTheFocus()
    {
        QVERIFY(open());
        auto dialog = openSettings(1);
        QVERIFY(dialog);
        MessageBoxAnswers answers;
        answers.expectFolder("Find Directory"_s, QString());
        const auto browse = allChildren<QPushButton>(*dialog, "FileSelectorBrowse");
        browse.at(1)->setFocus();
        pressIn(*dialog, Qt::Key_Return);
        QVERIFY(dialog->isVisible());
        // Return presses "Ok" if no button has the focus.
        QSignalSpy accepted(dialog.get(), &QDialog::accepted);
        child<QTabWidget>(*dialog, "SettingsTabs")->setFocus();
        pressIn(*dialog, Qt::Key_Return);
        QCOMPARE(accepted.count(), 1);

        dialog = openSettings(0);
        QVERIFY(dialog);
        QSignalSpy rejected(dialog.get(), &QDialog::rejected);
        child<QPushButton>(*dialog, "SettingsCancel")->setFocus();
        pressIn(*dialog, Qt::Key_Enter);
        QCOMPARE(rejected.count(), 1);
    }

    // Opening and leaving the detail view

    void keysOpenAndLeaveTheDetail()
    {
        QVERIFY(openWith(20));
        QPushButton *button = cardButton(12, "MoreDetail");
        const QVector<QPair<Qt::Key, Qt::Key>> ways{{Qt::Key_Space, Qt::Key_Space},
                                                    {Qt::Key_Return, Qt::Key_Escape},
                                                    {Qt::Key_Enter, Qt::Key_Return}};
        for (const auto &[in, out] : ways) {
            button->setFocus(Qt::TabFocusReason);
            press(in);
            QVERIFY(showsDetail());
            QCOMPARE(focusedName(), "Back"_s);
            press(out);
            QVERIFY(!showsDetail());
            QCOMPARE(QApplication::focusWidget(), button);
            QVERIFY(isSeen(*button));
        }
    }

    void escapeLeavesTheDetailFromEverywhere()
    {
        offer(1, 2);
        QVERIFY(open(true));
        openDetail(0);
        const auto seen = walkAround(window());
        QVERIFY(seen.size() > 15);
        for (QWidget *widget : seen) {
            openDetail(0);
            QVERIFY(showsDetail());
            widget->setFocus();
            QCOMPARE(QApplication::focusWidget(), widget);
            press(Qt::Key_Escape);
            QVERIFY2(!showsDetail(), qPrintable(spokenName(widget)));
            QVERIFY(widget->hasFocus() || widget->objectName() != "XPlaneButton"_s);
        }
        // Escape has no effect in the list.
        QSignalSpy listed(&controller(), &PackageController::list);
        press(Qt::Key_Escape);
        QVERIFY(listed.isEmpty());
        QVERIFY(window().isVisible());
    }

    void backFocusesTheNewCardOfThePackage()
    {
        QVERIFY(openWith(20));
        const QPointer<QPushButton> before = cardButton(12, "MoreDetail");
        openDetail(12);
        emit controller().update();
        QVERIFY(!before);
        QVERIFY(showsDetail());
        QCOMPARE(focusedName(), "Back"_s);
        press(Qt::Key_Escape);
        QVERIFY(isFocusedAndSeen("More Detail: package-13"_s));
        QCOMPARE(QApplication::focusWidget(), cardButton(12, "MoreDetail"));
    }

    void backWithoutItsCardFocusesTheFirst()
    {
        QVERIFY(openWith(3));
        openDetail(2);
        // The list does not show this package.
        const auto other = PackagePointer::create();
        other->setId(8);
        emit controller().detail(other);
        press(Qt::Key_Escape);
        QVERIFY(!showsDetail());
        QVERIFY(isFocusedAndSeen("More Detail: package-1"_s));
    }

    void escapeInTheSettingsDiscardsTheEdits()
    {
        QVERIFY(openWith(1));
        QWidget *button = walkAround(window()).value(2);
        QCOMPARE(spokenName(button), "Settings"_s);
        button->setFocus();
        MessageBoxAnswers answers;
        bool edited = false;
        answers.expectDialog("SettingsDialog"_s, [this, &edited](QDialog &dialog) {
            pressIn(dialog, Qt::Key_Tab);
            pressIn(dialog, Qt::Key_Down);
            edited = settings()->pending(Settings::LANGUAGE) == "de"_s;
            pressIn(dialog, Qt::Key_Escape);
        });
        QSignalSpy refreshed(&controller(), &PackageController::busy);
        press(Qt::Key_Return);
        QVERIFY(answers.allShown());
        QVERIFY(edited);
        QCOMPARE(settings()->pending(Settings::LANGUAGE), settings()->current(Settings::LANGUAGE));
        QVERIFY(refreshed.isEmpty());
        window().activateWindow();
        QTRY_COMPARE(QApplication::focusWidget(), button);
    }

    // Keys of the window

    void keysRefresh_data()
    {
        Rows<Qt::Key, Qt::KeyboardModifiers>()
            .row("F5", Qt::Key_F5, Qt::NoModifier)
            .row("Ctrl+R", Qt::Key_R, Qt::ControlModifier);
    }

    void keysRefresh()
    {
        const auto [key, modifiers] = Rows<Qt::Key, Qt::KeyboardModifiers>::current();
        QVERIFY(openWith(2));
        QSignalSpy busy(&controller(), &PackageController::busy);
        QSignalSpy listed(&controller(), &PackageController::list);
        press(key, modifiers);
        QCOMPARE(busy.count(), 1);
        QTRY_COMPARE(listed.count(), 1);
        // The keys work in the detail view as well.
        openDetail(1);
        press(key, modifiers);
        QCOMPARE(busy.count(), 2);
    }

    void keysOpenTheSettings()
    {
        QVERIFY(open());
        MessageBoxAnswers answers;
        answers.expectDialog("SettingsDialog"_s, [](QDialog &dialog) { dialog.reject(); });
        press(Qt::Key_Comma, Qt::ControlModifier);
    }

    void keysEndTheProgram()
    {
        QVERIFY(openWith(1));
        QSignalSpy asked(&application(), &ApplicationController::exitRequest);
        press(Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(asked.count(), 1);
        QVERIFY(!window().isVisible());
    }

    // Buttons that become disabled

    void cardKeepsTheFocusWhenItsButtonIsDisabled()
    {
        QVERIFY(openWith(2));
        QPushButton *action = cardButton(0, "Download");
        action->setFocus();
        package(1)->setState(Package::PREPARING);
        QVERIFY(!action->isEnabled());
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
        package(1)->setState(Package::AVAILABLE);
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
    }

    void titleBarKeepsTheFocusWhenItsButtonIsDisabled()
    {
        QVERIFY(openWith(1));
        openDetail(0);
        child<QPushButton>(window(), "GetHelp")->setFocus();
        press(Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(focusedName(), "Download"_s);
        package(1)->setState(Package::PREPARING);
        QCOMPARE(focusedName(), "Get Help"_s);
        package(1)->setState(Package::INSTALLED);
        child<QPushButton>(window(), "Uninstall")->setFocus();
        package(1)->setState(Package::UNINSTALLING);
        QCOMPARE(focusedName(), "Get Help"_s);
    }

    // Initial focus

    void returnAfterTheStartOpensTheFirstCard()
    {
        QVERIFY(openWith(3));
        QVERIFY(isFocusedAndSeen("More Detail: package-1"_s));
        press(Qt::Key_Return);
        QVERIFY(showsDetail());
        QCOMPARE(textOf(window(), "DetailTitle"), "package-1"_s);
    }

    void refreshHasTheFocusWithoutCards_data()
    {
        Rows<bool>().row("error", true).row("nothing", false);
    }

    void refreshHasTheFocusWithoutCards()
    {
        const auto [error] = Rows<bool>::current();
        QVERIFY(openWith(3));
        // The list, which has the focus, is hidden now.
        if (error)
            emit controller().error("Connection refused"_s);
        else
            emit controller().empty();
        QCOMPARE(focusedName(), "Refresh"_s);
        QSignalSpy busy(&controller(), &PackageController::busy);
        QSignalSpy listed(&controller(), &PackageController::list);
        press(Qt::Key_Return);
        QCOMPARE(busy.count(), 1);
        QVERIFY(listed.wait());
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
    }

    void focusInTheTopBarStaysThere()
    {
        QVERIFY(openWith(3));
        allChildren<QPushButton>(window(), "TopButton").at(2)->setFocus();
        emit controller().busy();
        QCOMPARE(focusedName(), "Settings"_s);
        emit controller().error("Connection refused"_s);
        QCOMPARE(focusedName(), "Settings"_s);
        emit controller().list();
        QCOMPARE(focusedName(), "Settings"_s);
    }

    void hiddenDetailLosesTheFocus()
    {
        QVERIFY(openWith(3));
        openDetail(2);
        emit controller().busy();
        QCOMPARE(focusedName(), "Refresh"_s);
        emit controller().list();
        QCOMPARE(focusedName(), "More Detail: package-1"_s);
    }

private:
    static void directions() { Rows<bool>().row("forwards", false).row("backwards", true); }
    /// The names of those widgets that are buttons and that the key clicks.
    QStringList pressedOf(const QList<QWidget *> &widgets, Qt::Key key) const
    {
        QStringList names;
        for (QWidget *widget : widgets) {
            auto *button = qobject_cast<QPushButton *>(widget);
            if (!button)
                continue;
            // Other tests check what the button does.
            disconnect(button, &QPushButton::clicked, nullptr, nullptr);
            QSignalSpy clicked(button, &QPushButton::clicked);
            button->setFocus(Qt::TabFocusReason);
            press(key);
            if (clicked.count() == 1)
                names.append(spokenName(button));
        }
        return names;
    }
    /// Whether Tab visits the widgets of these names, and Shift+Tab visits them in reverse order.
    bool isWalked(const QStringList &names)
    {
        const auto seen = walkAround(window());
        if (spokenNames(seen) != names)
            qWarning() << "Tab visited:" << spokenNames(seen);
        return spokenNames(seen) == names && walkAround(window(), true) == reversed(seen);
    }
    /// Presses Tab and returns whether the focused widget is visible.
    bool seesNext(bool backwards) const
    {
        press(backwards ? Qt::Key_Backtab : Qt::Key_Tab,
              backwards ? Qt::ShiftModifier : Qt::NoModifier);
        return isSeen(*QApplication::focusWidget());
    }
    static bool isFocusedAndSeen(const QString &name)
    {
        return focusedName() == name && isSeen(*QApplication::focusWidget());
    }
    std::unique_ptr<SettingsDialog> openSettings(int page)
    {
        auto dialog = std::make_unique<SettingsDialog>(shared(), settings(), &window());
        child<QTabWidget>(*dialog, "SettingsTabs")->setCurrentIndex(page);
        dialog->show();
        dialog->activateWindow();
        const bool active =
            QTest::qWaitFor([&dialog] { return QApplication::activeWindow() == dialog.get(); });
        return active ? std::move(dialog) : nullptr;
    }
};

KAVO_TEST_MAIN(KeyboardTest)
#include "KeyboardTest.moc"
