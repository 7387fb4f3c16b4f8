#include "components/WidgetList.h"
#include "core/Settings.h"
#include "dialogs/SettingsDialog.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/ShownWindow.h"

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTabWidget>

#include <algorithm>
#include <memory>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Controllers::PackageController;
using Kavo::Dialogs::SettingsDialog;
using Kavo::Models::Package;

namespace {

QStringList texts(std::initializer_list<const char *> list)
{
    QStringList found;
    for (const char *text : list)
        found.append(QString::fromUtf8(text));
    return found;
}

QStringList topBar()
{
    return texts({"Run X-Plane", "Refresh", "Settings", "Reset", "Minimize", "Maximize", "Close"});
}

QStringList cards(int count)
{
    QStringList names;
    for (int id = 1; id <= count; ++id)
        names << QStringLiteral("Download: package-%1").arg(id)
              << QStringLiteral("More Detail: package-%1").arg(id);
    return names;
}

template<class List>
List reversed(List list)
{
    std::reverse(list.begin(), list.end());
    return list;
}

QString focusedName()
{
    return spokenName(QApplication::focusWidget());
}

/// Whether all of a widget can be seen; of one that scrolls, a part is enough.
bool isSeen(const QWidget &widget)
{
    const QRect seen = widget.visibleRegion().boundingRect();
    return qobject_cast<const QAbstractScrollArea *>(&widget) ? !seen.isEmpty()
                                                              : seen == widget.rect();
}

} // namespace

/// Everything can be done without a pointer, and the keyboard is always where it is expected.
class KeyboardTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_shown = std::make_unique<ShownWindow>(); }
    void cleanup() { m_shown.reset(); }

    void listIsWalkedInReadingOrder();
    void filterStandsBeforeTheCards();
    void newCardsAreWalkedInReadingOrder();
    void buttonsThatAreOffArePassed();
    void detailIsWalkedInReadingOrder_data();
    void detailIsWalkedInReadingOrder();
    void detailOfAnInstalledPackageIsWalkedInReadingOrder();
    void settingsAreWalkedInReadingOrder_data();
    void settingsAreWalkedInReadingOrder();

    void focusedCardIsScrolledIntoView_data() { directions(); }
    void focusedCardIsScrolledIntoView();
    void focusedPartOfTheDetailIsScrolledIntoView_data() { directions(); }
    void focusedPartOfTheDetailIsScrolledIntoView();
    void clickScrollsNothing();
    void pageKeysMoveTheKeyboardAlong();

    void everyButtonIsPressedByKeys_data();
    void everyButtonIsPressedByKeys();
    void returnInTheSettingsPressesWhatHasTheFocus();
    void keysOpenAndLeaveTheDetail_data();
    void keysOpenAndLeaveTheDetail();
    void escapeLeavesTheDetailFromEverywhere();
    void backFindsTheNewCardOfThePackage();
    void backWithoutTheCardLosesNothing();
    void leavingFromTheTopBarLeavesTheKeyboardThere();
    void escapeInTheSettingsDropsTheEdits();
    void keysRefresh_data();
    void keysRefresh();
    void keysOpenTheSettings();
    void keysEndTheProgram();
    void keysDoNotEndTheProgramDuringAnInstallation();
    void pressedCardKeepsTheKeyboard();
    void pressedTitleBarKeepsTheKeyboard();

    void returnAfterTheStartOpensTheFirstCard();
    void keyboardIsAtRefreshWhereThereIsNoCard_data();
    void keyboardIsAtRefreshWhereThereIsNoCard();
    void keyboardInTheTopBarStaysThere();
    void keyboardIsNeverWithWhatIsHidden();

private:
    static void directions();
    QWidget &window() { return m_shown->window(); }
    void press(Qt::Key key) { Kavo::Testing::press(window(), key); }
    std::unique_ptr<SettingsDialog> openSettings(int page);

    std::unique_ptr<ShownWindow> m_shown;
};

void KeyboardTest::directions()
{
    QTest::addColumn<bool>("backwards");
    QTest::newRow("forwards") << false;
    QTest::newRow("backwards") << true;
}

// Order ------------------------------------------------------------------------------------------

void KeyboardTest::listIsWalkedInReadingOrder()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    QCOMPARE(spokenNames(walkAround(window())), topBar() + cards(3));
    QCOMPARE(spokenNames(walkAround(window(), true)), reversed(topBar() + cards(3)));
}

void KeyboardTest::filterStandsBeforeTheCards()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open(true));
    const auto seen = walkAround(window());
    const QStringList names = spokenNames(seen);
    QCOMPARE(names.mid(0, 4), texts({"Run X-Plane", "Search", "Search", "Refresh"}));
    QCOMPARE(seen.value(1)->objectName(), QStringLiteral("SearchField"));
    QCOMPARE(names.size(), topBar().size() + 2 + 2 + 4);
    QCOMPARE(seen.value(9)->objectName(), QStringLiteral("CategoryChoice"));
    QCOMPARE(seen.value(10)->objectName(), QStringLiteral("TypeChoice"));
    QCOMPARE(names.mid(11), cards(2));
    QCOMPARE(walkAround(window(), true), reversed(seen));
}

void KeyboardTest::newCardsAreWalkedInReadingOrder()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open(true));
    const int before = walkAround(window()).size();
    m_shown->offer(3);
    QVERIFY(m_shown->engine().refresh());
    const auto seen = walkAround(window());
    QCOMPARE(seen.size(), before + 2);
    QCOMPARE(spokenNames(seen).mid(11), cards(3));
    QCOMPARE(walkAround(window(), true), reversed(seen));
}

void KeyboardTest::buttonsThatAreOffArePassed()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    m_shown->engine().package(1)->setState(Package::DOWNLOADING);
    QCOMPARE(spokenNames(walkAround(window())), topBar() + cards(2).mid(1));
}

void KeyboardTest::detailIsWalkedInReadingOrder_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("banners");
    QTest::addColumn<QStringList>("parts");
    const QStringList bar = texts({"Download", "Get Help", "Manual"});
    const QStringList carousel = texts({"Previous picture", "Next picture"});
    const QStringList back = texts({"Back"});
    QTest::newRow("description") << 0 << 2
                                 << back + carousel + bar +
                                        texts({"Description", "Description", "Page"});
    QTest::newRow("change log") << 1 << 2
                                << back + carousel + bar +
                                       texts({"Change log", "Change log", "Page"});
    QTest::newRow("old versions") << 2 << 2
                                  << back + carousel + bar +
                                         texts({"Old versions", "Download: 2.0", "Download: 1.0",
                                                "Page"});
    QTest::newRow("no banners") << 0 << 0
                                << back + bar + texts({"Description", "Description", "Page"});
}

void KeyboardTest::detailIsWalkedInReadingOrder()
{
    QFETCH(int, page);
    QFETCH(int, banners);
    QFETCH(QStringList, parts);
    m_shown->offer(1, banners);
    m_shown->offer(2);
    QVERIFY(m_shown->open(true));
    // The parts that are made anew for every package.
    m_shown->openDetail(1);
    press(Qt::Key_Escape);
    m_shown->openDetail(0);
    child<QTabWidget>(window(), "DetailTabs")->setCurrentIndex(page);
    const auto seen = walkAround(window());
    QCOMPARE(spokenNames(seen).mid(topBar().size() + 2), parts);
    QCOMPARE(walkAround(window(), true), reversed(seen));
}

void KeyboardTest::detailOfAnInstalledPackageIsWalkedInReadingOrder()
{
    m_shown->offer(1);
    QVERIFY(m_shown->open());
    m_shown->engine().package(1)->setUpdateAvailable(true);
    m_shown->engine().package(1)->setState(Package::INSTALLED);
    m_shown->openDetail(0);
    QCOMPARE(spokenNames(walkAround(window())).mid(topBar().size()),
             texts({"Back", "Update", "Uninstall", "Get Help", "Manual", "Description",
                    "Description", "Page"}));
}

std::unique_ptr<SettingsDialog> KeyboardTest::openSettings(int page)
{
    auto dialog = std::make_unique<SettingsDialog>(sharedController(m_shown->engine()),
                                                   m_shown->engine().settings(), &window());
    child<QTabWidget>(*dialog, "SettingsTabs")->setCurrentIndex(page);
    dialog->show();
    dialog->activateWindow();
    const bool active =
        QTest::qWaitFor([&dialog] { return QApplication::activeWindow() == dialog.get(); });
    return active ? std::move(dialog) : nullptr;
}

void KeyboardTest::settingsAreWalkedInReadingOrder_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QStringList>("parts");
    QTest::newRow("general") << 0 << texts({"General", "English", "Ok", "Cancel"});
    QTest::newRow("paths") << 1
                           << texts({"Paths", "Browse: X-Plane", "Browse: Cache",
                                     "Browse: Preserve", "Browse: Backup", "Ok", "Cancel"});
    QTest::newRow("disk usage") << 2 << texts({"Disk Usage", "Ok", "Cancel"});
}

void KeyboardTest::settingsAreWalkedInReadingOrder()
{
    QFETCH(int, page);
    QFETCH(QStringList, parts);
    QVERIFY(m_shown->open());
    const auto dialog = openSettings(page);
    QVERIFY(dialog);
    // The pages are turned with the keyboard.
    QCOMPARE(focusedName(), parts.first());
    const auto seen = walkAround(*dialog);
    QCOMPARE(spokenNames(seen), parts);
    QVERIFY(std::all_of(seen.begin(), seen.end(), [](QWidget *widget) { return isSeen(*widget); }));
    QCOMPARE(walkAround(*dialog, true), reversed(seen));
}

// Scrolling --------------------------------------------------------------------------------------

void KeyboardTest::focusedCardIsScrolledIntoView()
{
    QFETCH(bool, backwards);
    m_shown->offerSome(30);
    QVERIFY(m_shown->open());
    const auto seen = walkAround(window(), backwards);
    QCOMPARE(seen.size(), topBar().size() + 60);
    // The same way once more, now looking.
    for (int step = 0; step < seen.size(); ++step) {
        Kavo::Testing::press(window(), backwards ? Qt::Key_Backtab : Qt::Key_Tab,
                             backwards ? Qt::ShiftModifier : Qt::NoModifier);
        QWidget *focused = QApplication::focusWidget();
        QVERIFY2(isSeen(*focused), qPrintable(focusedName()));
        if (m_shown->list().isAncestorOf(focused))
            QVERIFY2(isSeen(*focused->parentWidget()), qPrintable(focusedName()));
    }
}

void KeyboardTest::focusedPartOfTheDetailIsScrolledIntoView()
{
    QFETCH(bool, backwards);
    m_shown->offer(1, 2);
    // Low enough that much of the page is out of sight.
    QVERIFY(m_shown->open(false, QSize(1320, 500)));
    m_shown->openDetail(0);
    auto *page = child<QAbstractScrollArea>(window(), "DetailScroll");
    QVERIFY(page->verticalScrollBar()->maximum() > 100);
    for (int tab : {0, 2}) {
        child<QTabWidget>(window(), "DetailTabs")->setCurrentIndex(tab);
        const int steps = walkAround(window(), backwards).size();
        for (int step = 0; step < steps; ++step) {
            Kavo::Testing::press(window(), backwards ? Qt::Key_Backtab : Qt::Key_Tab,
                                 backwards ? Qt::ShiftModifier : Qt::NoModifier);
            QVERIFY2(isSeen(*QApplication::focusWidget()), qPrintable(focusedName()));
        }
    }
}

void KeyboardTest::clickScrollsNothing()
{
    m_shown->offerSome(20);
    QVERIFY(m_shown->open());
    QScrollBar *bar = m_shown->list().verticalScrollBar();
    const int half = 64;
    bar->setValue(half);
    QPushButton *button = m_shown->cardButton(0, "MoreDetail");
    QVERIFY(!isSeen(*button->parentWidget()));
    QTest::mousePress(button, Qt::LeftButton);
    QCOMPARE(QApplication::focusWidget(), button);
    QCOMPARE(bar->value(), half);
    QTest::mouseRelease(button, Qt::LeftButton);
    QVERIFY(m_shown->showsDetail());
}

void KeyboardTest::pageKeysMoveTheKeyboardAlong()
{
    m_shown->offerSome(40);
    QVERIFY(m_shown->open());
    m_shown->cardButton(10, "MoreDetail")->setFocus();
    const auto focusedRow = [this] {
        for (int row = 0; row < m_shown->list().count(); ++row) {
            if (m_shown->list().rowWidget(row)->isAncestorOf(QApplication::focusWidget()))
                return row;
        }
        return -1;
    };
    const int page = m_shown->list().viewport()->height() / 136;
    press(Qt::Key_PageDown);
    QVERIFY(page > 3);
    QVERIFY(focusedRow() >= 10 + page - 1 && focusedRow() <= 10 + page);
    QVERIFY(isSeen(*QApplication::focusWidget()));
    press(Qt::Key_End);
    QCOMPARE(focusedName(), QStringLiteral("Download: package-40"));
    QVERIFY(isSeen(*QApplication::focusWidget()));
    press(Qt::Key_Home);
    QCOMPARE(focusedName(), QStringLiteral("Download: package-1"));
    QVERIFY(isSeen(*QApplication::focusWidget()));
}

// Pressing ---------------------------------------------------------------------------------------

void KeyboardTest::everyButtonIsPressedByKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Space") << int(Qt::Key_Space);
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter") << int(Qt::Key_Enter);
}

void KeyboardTest::everyButtonIsPressedByKeys()
{
    QFETCH(int, key);
    m_shown->offer(1, 2);
    QVERIFY(m_shown->open(true));
    int pressed = 0;
    const auto pressAll = [this, key, &pressed](const QList<QWidget *> &seen) {
        for (QWidget *widget : seen) {
            auto *button = qobject_cast<QPushButton *>(widget);
            if (!button)
                continue;
            // What it would do is the matter of other tests.
            disconnect(button, &QPushButton::clicked, nullptr, nullptr);
            QSignalSpy clicked(button, &QPushButton::clicked);
            button->setFocus(Qt::TabFocusReason);
            press(static_cast<Qt::Key>(key));
            QVERIFY2(clicked.count() == 1, qPrintable(spokenName(button)));
            ++pressed;
        }
    };
    m_shown->engine().package(1)->setUpdateAvailable(true);
    m_shown->engine().package(1)->setState(Package::INSTALLED);
    emit m_shown->engine().controller().detail(m_shown->engine().package(1));
    child<QTabWidget>(window(), "DetailTabs")->setCurrentIndex(2);
    pressAll(walkAround(window()));
    QCOMPARE(pressed, 8 + 1 + 2 + 4 + 2);
    emit m_shown->engine().controller().list();
    QList<QWidget *> inCards = walkAround(window());
    pressAll(inCards.mid(inCards.size() - 2));
    QCOMPARE(pressed, 8 + 1 + 2 + 4 + 2 + 2);
}

void KeyboardTest::returnInTheSettingsPressesWhatHasTheFocus()
{
    QVERIFY(m_shown->open());
    auto dialog = openSettings(1);
    QVERIFY(dialog);
    MessageBoxAnswers answers;
    answers.expectFolder(QStringLiteral("Find Directory"), QString());
    const auto browse = allChildren<QPushButton>(*dialog, "FileSelectorBrowse");
    browse.at(1)->setFocus();
    Kavo::Testing::press(*dialog, Qt::Key_Return);
    QVERIFY(answers.allShown());
    QVERIFY(dialog->isVisible());
    // Where nothing else is pressed, Return means "Ok".
    QSignalSpy accepted(dialog.get(), &QDialog::accepted);
    child<QTabWidget>(*dialog, "SettingsTabs")->setFocus();
    Kavo::Testing::press(*dialog, Qt::Key_Return);
    QCOMPARE(accepted.count(), 1);

    dialog = openSettings(0);
    QVERIFY(dialog);
    QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    child<QPushButton>(*dialog, "SettingsCancel")->setFocus();
    Kavo::Testing::press(*dialog, Qt::Key_Enter);
    QCOMPARE(rejected.count(), 1);
}

// The way into the detail view and back ----------------------------------------------------------

void KeyboardTest::keysOpenAndLeaveTheDetail_data()
{
    QTest::addColumn<int>("open");
    QTest::addColumn<int>("leave");
    QTest::newRow("Space and Space") << int(Qt::Key_Space) << int(Qt::Key_Space);
    QTest::newRow("Return and Escape") << int(Qt::Key_Return) << int(Qt::Key_Escape);
    QTest::newRow("Enter and Return") << int(Qt::Key_Enter) << int(Qt::Key_Return);
}

void KeyboardTest::keysOpenAndLeaveTheDetail()
{
    QFETCH(int, open);
    QFETCH(int, leave);
    m_shown->offerSome(20);
    QVERIFY(m_shown->open());
    QPushButton *button = m_shown->cardButton(12, "MoreDetail");
    button->setFocus(Qt::TabFocusReason);
    press(static_cast<Qt::Key>(open));
    QVERIFY(m_shown->showsDetail());
    QCOMPARE(focusedName(), QStringLiteral("Back"));
    press(static_cast<Qt::Key>(leave));
    QVERIFY(!m_shown->showsDetail());
    QCOMPARE(QApplication::focusWidget(), button);
    QVERIFY(isSeen(*button));
}

void KeyboardTest::escapeLeavesTheDetailFromEverywhere()
{
    m_shown->offer(1, 2);
    QVERIFY(m_shown->open(true));
    m_shown->openDetail(0);
    const auto seen = walkAround(window());
    QVERIFY(seen.size() > 15);
    for (QWidget *widget : seen) {
        m_shown->openDetail(0);
        QVERIFY(m_shown->showsDetail());
        widget->setFocus();
        QCOMPARE(QApplication::focusWidget(), widget);
        press(Qt::Key_Escape);
        QVERIFY2(!m_shown->showsDetail(), qPrintable(spokenName(widget)));
    }
    // In the list the key means nothing.
    QSignalSpy listed(&m_shown->engine().controller(), &PackageController::list);
    press(Qt::Key_Escape);
    QVERIFY(listed.isEmpty());
    QVERIFY(window().isVisible());
}

void KeyboardTest::backFindsTheNewCardOfThePackage()
{
    m_shown->offerSome(20);
    QVERIFY(m_shown->open());
    const QPointer<QPushButton> before = m_shown->cardButton(12, "MoreDetail");
    m_shown->openDetail(12);
    emit m_shown->engine().controller().update();
    QVERIFY(!before);
    QVERIFY(m_shown->showsDetail());
    QCOMPARE(focusedName(), QStringLiteral("Back"));
    press(Qt::Key_Escape);
    QCOMPARE(QApplication::focusWidget(), m_shown->cardButton(12, "MoreDetail"));
    QVERIFY(isSeen(*QApplication::focusWidget()));
}

void KeyboardTest::backWithoutTheCardLosesNothing()
{
    m_shown->offer(7);
    QVERIFY(m_shown->open());
    m_shown->openDetail(0);
    // A package that the list does not show.
    const auto other = QSharedPointer<Package>::create();
    other->setId(8);
    emit m_shown->engine().controller().detail(other);
    press(Qt::Key_Escape);
    QVERIFY(!m_shown->showsDetail());
    QVERIFY(QApplication::focusWidget());
    QVERIFY(isSeen(*QApplication::focusWidget()));
}

void KeyboardTest::leavingFromTheTopBarLeavesTheKeyboardThere()
{
    m_shown->offer(1);
    QVERIFY(m_shown->open());
    m_shown->openDetail(0);
    auto *launcher = child<QPushButton>(window(), "XPlaneButton");
    launcher->setFocus();
    press(Qt::Key_Escape);
    QVERIFY(!m_shown->showsDetail());
    QCOMPARE(QApplication::focusWidget(), launcher);
}

void KeyboardTest::escapeInTheSettingsDropsTheEdits()
{
    m_shown->offer(1);
    QVERIFY(m_shown->open());
    const auto settings = m_shown->engine().settings();
    QWidget *button = walkAround(window()).value(2);
    QCOMPARE(spokenName(button), QStringLiteral("Settings"));
    button->setFocus();
    MessageBoxAnswers answers;
    bool edited = false;
    answers.expectDialog(QStringLiteral("SettingsDialog"), [&edited, settings](QDialog &dialog) {
        Kavo::Testing::press(dialog, Qt::Key_Tab);
        Kavo::Testing::press(dialog, Qt::Key_Down);
        edited = settings->pending(Settings::LANGUAGE) == QLatin1String("de");
        Kavo::Testing::press(dialog, Qt::Key_Escape);
    });
    QSignalSpy refreshed(&m_shown->engine().controller(), &PackageController::busy);
    press(Qt::Key_Return);
    QVERIFY(answers.allShown());
    QVERIFY(edited);
    QCOMPARE(settings->pending(Settings::LANGUAGE), settings->current(Settings::LANGUAGE));
    QVERIFY(refreshed.isEmpty());
    window().activateWindow();
    QTRY_COMPARE(QApplication::focusWidget(), button);
}

// Keys of the window -----------------------------------------------------------------------------

void KeyboardTest::keysRefresh_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("F5") << int(Qt::Key_F5) << int(Qt::NoModifier);
    QTest::newRow("Ctrl+R") << int(Qt::Key_R) << int(Qt::ControlModifier);
}

void KeyboardTest::keysRefresh()
{
    QFETCH(int, key);
    QFETCH(int, modifiers);
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    const auto pressKey = [this, key, modifiers] {
        Kavo::Testing::press(window(), static_cast<Qt::Key>(key), Qt::KeyboardModifiers(modifiers));
    };
    QSignalSpy busy(&m_shown->engine().controller(), &PackageController::busy);
    QSignalSpy listed(&m_shown->engine().controller(), &PackageController::list);
    pressKey();
    QCOMPARE(busy.count(), 1);
    QTRY_COMPARE(listed.count(), 1);
    // From the detail view, too.
    m_shown->openDetail(1);
    pressKey();
    QCOMPARE(busy.count(), 2);
}

void KeyboardTest::keysOpenTheSettings()
{
    m_shown->offer(1);
    QVERIFY(m_shown->open());
    MessageBoxAnswers answers;
    answers.expectDialog(QStringLiteral("SettingsDialog"),
                         [](QDialog &dialog) { dialog.reject(); });
    Kavo::Testing::press(window(), Qt::Key_Comma, Qt::ControlModifier);
    QVERIFY(answers.allShown());
}

void KeyboardTest::keysEndTheProgram()
{
    m_shown->offer(1);
    QVERIFY(m_shown->open());
    Kavo::Testing::press(window(), Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!window().isVisible());
}

void KeyboardTest::keysDoNotEndTheProgramDuringAnInstallation()
{
    m_shown->engine().offer({1, QStringLiteral("1.0")});
    QVERIFY(m_shown->open());
    m_shown->engine().install(1);
    QVERIFY(m_shown->engine().waitForState(1, Package::INSTALLING));
    QVERIFY(m_shown->engine().controller().isBusy());
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Installation in progress"),
                   QStringLiteral("There is a installation in progress.\n\nTry closing the "
                                  "application after the installation is completed"),
                   QMessageBox::Ok);
    Kavo::Testing::press(window(), Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(answers.allShown());
    QVERIFY(window().isVisible());
    QVERIFY(m_shown->engine().waitUntilSettled(1));
}

// What switches itself off -----------------------------------------------------------------------

void KeyboardTest::pressedCardKeepsTheKeyboard()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    QPushButton *action = m_shown->cardButton(0, "Download");
    action->setFocus();
    m_shown->engine().package(1)->setState(Package::PREPARING);
    QVERIFY(!action->isEnabled());
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
    m_shown->engine().package(1)->setState(Package::AVAILABLE);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
}

void KeyboardTest::pressedTitleBarKeepsTheKeyboard()
{
    m_shown->offer(1);
    QVERIFY(m_shown->open());
    m_shown->openDetail(0);
    child<QPushButton>(window(), "GetHelp")->setFocus();
    Kavo::Testing::press(window(), Qt::Key_Backtab, Qt::ShiftModifier);
    QCOMPARE(focusedName(), QStringLiteral("Download"));
    m_shown->engine().package(1)->setState(Package::PREPARING);
    QCOMPARE(focusedName(), QStringLiteral("Get Help"));
    m_shown->engine().package(1)->setState(Package::INSTALLED);
    child<QPushButton>(window(), "Uninstall")->setFocus();
    m_shown->engine().package(1)->setState(Package::UNINSTALLING);
    QCOMPARE(focusedName(), QStringLiteral("Get Help"));
}

// The place of the keyboard before anybody has chosen one ----------------------------------------

void KeyboardTest::returnAfterTheStartOpensTheFirstCard()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
    QVERIFY(isSeen(*QApplication::focusWidget()));
    press(Qt::Key_Return);
    QVERIFY(m_shown->showsDetail());
    QCOMPARE(textOf(window(), "DetailTitle"), QStringLiteral("package-1"));
}

void KeyboardTest::keyboardIsAtRefreshWhereThereIsNoCard_data()
{
    QTest::addColumn<bool>("error");
    QTest::newRow("error") << true;
    QTest::newRow("nothing") << false;
}

void KeyboardTest::keyboardIsAtRefreshWhereThereIsNoCard()
{
    QFETCH(bool, error);
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    PackageController &controller = m_shown->engine().controller();
    // The keyboard is in the list, which goes now.
    if (error)
        emit controller.error(QStringLiteral("Connection refused"));
    else
        emit controller.empty();
    QCOMPARE(focusedName(), QStringLiteral("Refresh"));
    QSignalSpy busy(&controller, &PackageController::busy);
    QSignalSpy listed(&controller, &PackageController::list);
    press(Qt::Key_Return);
    QCOMPARE(busy.count(), 1);
    QVERIFY(listed.wait());
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
}

void KeyboardTest::keyboardInTheTopBarStaysThere()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    auto *settings = allChildren<QPushButton>(window(), "TopButton").at(2);
    settings->setFocus();
    PackageController &controller = m_shown->engine().controller();
    emit controller.busy();
    QCOMPARE(QApplication::focusWidget(), settings);
    emit controller.error(QStringLiteral("Connection refused"));
    QCOMPARE(QApplication::focusWidget(), settings);
    emit controller.list();
    QCOMPARE(QApplication::focusWidget(), settings);
}

void KeyboardTest::keyboardIsNeverWithWhatIsHidden()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    PackageController &controller = m_shown->engine().controller();
    m_shown->openDetail(2);
    emit controller.busy();
    QCOMPARE(focusedName(), QStringLiteral("Refresh"));
    emit controller.list();
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
    // A package that the list does not show leaves the keyboard to the first one.
    const auto other = QSharedPointer<Package>::create();
    other->setId(8);
    emit controller.detail(other);
    press(Qt::Key_Escape);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
}

KAVO_TEST_MAIN(KeyboardTest)
#include "KeyboardTest.moc"
