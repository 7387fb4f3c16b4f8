#include "components/WidgetList.h"
#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/ShownWindow.h"
#include "ui/list/PackageFilter.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/window/PackageSidebar.h"

#include <QAccessible>
#include <QLineEdit>
#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>

#include <algorithm>
#include <memory>

using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;
using Kavo::Ui::PackageFilter;
using Kavo::Ui::PackageProcessingWidget;
using Kavo::Ui::PackageSidebar;
using Kavo::Ui::PackageWidget;

namespace {

/// Of a list that is filled in turns.
constexpr int Many = 400;

QString focusedName()
{
    return spokenName(QApplication::focusWidget());
}

} // namespace

/// The search in the real window, from the keys to what is to be seen of the list.
class SearchTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_shown = std::make_unique<ShownWindow>(); }
    void cleanup() { m_shown.reset(); }

    void typingFiltersTheList();
    void nothingFoundIsTold();
    void nothingFoundStaysTheAnswerToAnEmptyCatalogue();
    void keyboardGoesToWhatWasFound_data();
    void keyboardGoesToWhatWasFound();
    void keyboardStaysWhereNothingWasFound();
    void escapeClears();
    void escapeInTheListClearsAndKeepsTheCard();
    void clearedListStandsWhereItStood();

    void keysShowAHiddenSearch_data();
    void keysShowAHiddenSearch();
    void typingInTheListShowsAHiddenSearch();
    void typingInTheListGoesOnWithAShownSearch();
    void typingInTheListGoesBehindWhatStandsThere();
    void escapeHidesTheSearchAgain();
    void escapeHidesASearchWithTheKeyboardInTheList();
    void searchThatIsAlwaysThereStays_data();
    void searchThatIsAlwaysThereStays();
    void otherKeysOfACardKeepTheirMeaning();

    void refreshKeepsTheSearch();
    void refreshThatFindsNothingTellsIt();
    void searchWhileTheCatalogueIsOnItsWay();
    void searchOnAnErrorPageChangesNothing();
    void backReturnsToTheFilteredList();
    void searchInTheDetailShowsTheList();
    void returnInTheDetailShowsTheFound();
    void packageThatChangesStaysUntilTheNextText();
    void errorOfAPackageThatIsNotListedIsTold();
    void longListIsSearchedBeforeItsCardsAreThere();
    void detailStaysWhileALongListIsRead();
    void cardsOfALongListAreMadeWhileItIsFiltered();
    void screenReadersHearHowManyWereFound();

private:
    /// Shows the window when all texts have been read.
    bool open(bool filter = false);
    bool isRead();
    Kavo::Ui::ApplicationWindow &window() { return m_shown->window(); }
    PackageController &controller() { return m_shown->engine().controller(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        Kavo::Testing::press(window(), key, modifiers);
    }
    /// As the keyboard does: to whatever has it.
    void type(const char *text)
    {
        for (; *text; ++text)
            QTest::keyClick(window().windowHandle(), *text);
    }
    QLineEdit *field() { return child<QLineEdit>(window(), "SearchField"); }
    QPushButton *button() { return allChildren<QPushButton>(window(), "TopButton").first(); }
    PackageProcessingWidget *panel()
    {
        return child<QWidget>(window(), "PackageContainer")
            ->findChild<PackageProcessingWidget *>(QString(), Qt::FindDirectChildrenOnly);
    }
    /// Ids of the packages in the list, of a list that is shown.
    QVector<int> listed();
    bool isListed(int id) { return listed().contains(id); }
    /// Ids of the cards that can be seen, from the top to the bottom.
    QVector<int> seen();
    bool tellsNothingFound();
    /// Adds a package of this name.
    void offer(int id, const QString &name, const QString &brief = QString());
    /// Adds "package-1" and so on, with nothing but their names.
    void offerMany(int count);

    std::unique_ptr<ShownWindow> m_shown;
};

bool SearchTest::open(bool filter)
{
    return m_shown->open(filter) && isRead();
}

bool SearchTest::isRead()
{
    const auto *filter = window().findChild<PackageFilter *>();
    return QTest::qWaitFor([filter] { return filter->isComplete(); }, 60000);
}

QVector<int> SearchTest::listed()
{
    QVector<int> ids;
    const auto packages = controller().packages();
    for (int row = 0; m_shown->list().isVisible() && row < m_shown->list().count(); ++row) {
        if (m_shown->list().isListed(row))
            ids.append(packages.at(row)->id());
    }
    return ids;
}

QVector<int> SearchTest::seen()
{
    QMap<int, int> ids;
    for (const PackageWidget *card : window().findChildren<PackageWidget *>()) {
        if (!card->visibleRegion().isEmpty())
            ids.insert(card->y(), card->packageId());
    }
    return ids.values().toVector();
}

bool SearchTest::tellsNothingFound()
{
    return panel()->isVisible() && !m_shown->list().isVisible() &&
           textOf(*panel(), "ProcessingMessage") == QLatin1String("No items found");
}

void SearchTest::offer(int id, const QString &name, const QString &brief)
{
    m_shown->engine().offerObject(
        {{QStringLiteral("id"), id},
         {QStringLiteral("name"), QJsonObject{{QStringLiteral("en"), name}}},
         {QStringLiteral("short_description"), QJsonObject{{QStringLiteral("en"), brief}}}});
}

void SearchTest::offerMany(int count)
{
    for (int id = 1; id <= count; ++id)
        offer(id, QStringLiteral("package-%1").arg(id));
}

// What is found ----------------------------------------------------------------------------------

void SearchTest::typingFiltersTheList()
{
    offer(1, QStringLiteral("Häfen"), QStringLiteral("Lights for every pier"));
    offer(2, QStringLiteral("Jetways"), QStringLiteral("Every gate has one"));
    offer(3, QStringLiteral("Piers"));
    QVERIFY(open(true));
    QCOMPARE(seen(), QVector<int>({1, 2, 3}));
    field()->setFocus();
    type("e");
    type("v");
    QCOMPARE(seen(), QVector<int>({1, 2}));
    type("ery PIE");
    QCOMPARE(field()->text(), QStringLiteral("every PIE"));
    QCOMPARE(seen(), QVector<int>({1}));
    QCOMPARE(m_shown->list().rowWidget(0)->y(), m_shown->list().spacing());
    press(Qt::Key_A, Qt::ControlModifier);
    type("hafen");
    QCOMPARE(seen(), QVector<int>({1}));
    press(Qt::Key_A, Qt::ControlModifier);
    type("pier");
    QCOMPARE(seen(), QVector<int>({1, 3}));
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Backspace);
    QCOMPARE(seen(), QVector<int>({1, 2, 3}));
}

void SearchTest::nothingFoundIsTold()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    auto *sidebar = window().findChild<PackageSidebar *>();
    field()->setFocus();
    type("jetways");
    QVERIFY(tellsNothingFound());
    QVERIFY(!sidebar->isVisible());
    QCOMPARE(QApplication::focusWidget(), field());
    // Back to the list as soon as the text finds something.
    while (field()->text() != QLatin1String("e")) {
        QVERIFY(tellsNothingFound());
        press(Qt::Key_Home);
        press(Qt::Key_Delete);
        if (field()->text() == QLatin1String("etways")) {
            press(Qt::Key_End);
            for (int i = 0; i < 5; ++i)
                press(Qt::Key_Backspace);
        }
    }
    QCOMPARE(seen(), QVector<int>({1, 2, 3}));
    QVERIFY(!panel()->isVisible());
    QVERIFY(sidebar->isVisible());
}

void SearchTest::nothingFoundStaysTheAnswerToAnEmptyCatalogue()
{
    QVERIFY(open(true));
    QVERIFY(m_shown->list().isVisible());
    QVERIFY(!panel()->isVisible());
    field()->setText(QStringLiteral("pier"));
    QVERIFY(tellsNothingFound());
    field()->clear();
    QVERIFY(m_shown->list().isVisible());
    QVERIFY(!panel()->isVisible());
}

// The way to the cards ---------------------------------------------------------------------------

void SearchTest::keyboardGoesToWhatWasFound_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter") << int(Qt::Key_Enter);
    QTest::newRow("button") << 0;
}

void SearchTest::keyboardGoesToWhatWasFound()
{
    QFETCH(int, key);
    offerMany(Many);
    QVERIFY(open(true));
    field()->setFocus();
    type("package-33");
    QCOMPARE(listed(), QVector<int>({33, 330, 331, 332, 333, 334, 335, 336, 337, 338, 339}));
    if (key)
        press(static_cast<Qt::Key>(key));
    else
        QTest::mouseClick(button(), Qt::LeftButton);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-33"));
    // From there on the keys know the list as it is.
    press(Qt::Key_Tab);
    QCOMPARE(focusedName(), QStringLiteral("Download: package-330"));
    press(Qt::Key_Tab);
    press(Qt::Key_Return);
    QCOMPARE(textOf(window(), "DetailTitle"), QStringLiteral("package-330"));
}

void SearchTest::keyboardStaysWhereNothingWasFound()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    field()->setFocus();
    type("jetways");
    press(Qt::Key_Return);
    QCOMPARE(QApplication::focusWidget(), field());
    QTest::mouseClick(button(), Qt::LeftButton);
    QVERIFY(tellsNothingFound());
    // Nor does it go to a card while the list is on its way, or with the list when that is there.
    field()->setText(QStringLiteral("package"));
    emit controller().busy();
    field()->setFocus();
    press(Qt::Key_Return);
    QCOMPARE(QApplication::focusWidget(), field());
    emit controller().list();
    QCOMPARE(seen(), QVector<int>({1, 2, 3}));
    QCOMPARE(QApplication::focusWidget(), field());
}

// The end of a search ----------------------------------------------------------------------------

void SearchTest::escapeClears()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    field()->setFocus();
    type("2");
    QCOMPARE(seen(), QVector<int>({2}));
    press(Qt::Key_Escape);
    QVERIFY(field()->text().isEmpty());
    QCOMPARE(seen(), QVector<int>({1, 2, 3}));
    QCOMPARE(QApplication::focusWidget(), field());
}

void SearchTest::escapeInTheListClearsAndKeepsTheCard()
{
    offerMany(Many);
    QVERIFY(open(true));
    field()->setFocus();
    type("package-333");
    press(Qt::Key_Return);
    QWidget *focused = QApplication::focusWidget();
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-333"));
    press(Qt::Key_Escape);
    QVERIFY(field()->text().isEmpty());
    QCOMPARE(listed().size(), Many);
    QCOMPARE(QApplication::focusWidget(), focused);
    QVERIFY(seen().contains(333));
    QVERIFY(!seen().contains(1));
    // The keys go on from there.
    press(Qt::Key_Tab);
    QCOMPARE(focusedName(), QStringLiteral("Download: package-334"));
}

void SearchTest::clearedListStandsWhereItStood()
{
    offerMany(Many);
    QVERIFY(open(true));
    QScrollBar *bar = m_shown->list().verticalScrollBar();
    bar->setValue(20000);
    field()->setFocus();
    type("1");
    QCOMPARE(bar->value(), 0);
    QCOMPARE(seen().first(), 1);
    bar->setValue(500);
    type("2");
    QCOMPARE(bar->value(), 0);
    QCOMPARE(seen().first(), 12);
    type("nothing");
    QVERIFY(tellsNothingFound());
    press(Qt::Key_Escape);
    QCOMPARE(bar->value(), 20000);
}

// A search that is hidden until it is asked for --------------------------------------------------

void SearchTest::keysShowAHiddenSearch_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("Ctrl+F") << int(Qt::Key_F) << int(Qt::ControlModifier);
    QTest::newRow("Find") << int(Qt::Key_Find) << int(Qt::NoModifier);
    QTest::newRow("Search") << int(Qt::Key_Search) << int(Qt::NoModifier);
}

void SearchTest::keysShowAHiddenSearch()
{
    QFETCH(int, key);
    QFETCH(int, modifiers);
    m_shown->offerSome(3);
    QVERIFY(open());
    QVERIFY(!field()->isVisible());
    QVERIFY(!button()->isVisible());
    // Not every key is one that press() knows.
    const auto pressKey = [this, key, modifiers] {
        QTest::simulateEvent(QApplication::focusWidget(), true, key,
                             Qt::KeyboardModifiers(modifiers), QString(), false);
    };
    pressKey();
    QVERIFY(field()->isVisible());
    QVERIFY(button()->isVisible());
    QCOMPARE(QApplication::focusWidget(), field());
    type("2");
    QCOMPARE(seen(), QVector<int>({2}));
    QVERIFY(!window().findChild<PackageSidebar *>()->isVisible());
    // Once more it selects what stands there, to be written over.
    press(Qt::Key_Return);
    pressKey();
    QCOMPARE(QApplication::focusWidget(), field());
    type("3");
    QCOMPARE(field()->text(), QStringLiteral("3"));
}

void SearchTest::typingInTheListShowsAHiddenSearch()
{
    offerMany(Many);
    QVERIFY(open());
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
    type("package-22");
    QVERIFY(field()->isVisible());
    QVERIFY(button()->isVisible());
    QCOMPARE(QApplication::focusWidget(), field());
    QCOMPARE(field()->text(), QStringLiteral("package-22"));
    QCOMPARE(listed().first(), 22);
    QCOMPARE(listed().size(), 11);
}

void SearchTest::typingInTheListGoesOnWithAShownSearch()
{
    offerMany(Many);
    QVERIFY(open(true));
    field()->setFocus();
    type("22");
    press(Qt::Key_Return);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-22"));
    type("3");
    QCOMPARE(field()->text(), QStringLiteral("223"));
    QCOMPARE(QApplication::focusWidget(), field());
    QCOMPARE(seen(), QVector<int>({223}));
}

/// Wherever the cursor was left, and whatever is selected.
void SearchTest::typingInTheListGoesBehindWhatStandsThere()
{
    offerMany(Many);
    QVERIFY(open(true));
    field()->setFocus();
    type("22");
    press(Qt::Key_Home);
    press(Qt::Key_Return);
    type("3");
    QCOMPARE(field()->text(), QStringLiteral("223"));
    press(Qt::Key_Backspace);
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Return);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-22"));
    type("4");
    QCOMPARE(field()->text(), QStringLiteral("224"));
    QCOMPARE(seen(), QVector<int>({224}));
}

void SearchTest::escapeHidesTheSearchAgain()
{
    offerMany(Many);
    QVERIFY(open());
    type("2");
    press(Qt::Key_Escape);
    QVERIFY(!field()->isVisible());
    QVERIFY(!button()->isVisible());
    QVERIFY(field()->text().isEmpty());
    QCOMPARE(listed().size(), Many);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
    // Empty, too, and with the keyboard at its button.
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Escape);
    QVERIFY(!field()->isVisible());
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), button());
    press(Qt::Key_Escape);
    QVERIFY(!field()->isVisible());
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
}

void SearchTest::escapeHidesASearchWithTheKeyboardInTheList()
{
    offerMany(Many);
    QVERIFY(open());
    type("22");
    press(Qt::Key_Return);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-22"));
    press(Qt::Key_Escape);
    QVERIFY(!field()->isVisible());
    QCOMPARE(listed().size(), Many);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-22"));
    QVERIFY(seen().contains(22));
}

void SearchTest::searchThatIsAlwaysThereStays_data()
{
    QTest::addColumn<QString>("setting");
    QTest::newRow("true") << QStringLiteral("true");
    QTest::newRow("capitals") << QStringLiteral("FALSE");
    QTest::newRow("empty") << QString();
}

void SearchTest::searchThatIsAlwaysThereStays()
{
    QFETCH(QString, setting);
    m_shown->offerSome(3);
    QVERIFY(open(true));
    m_shown->engine().settings()->setPending(Kavo::Settings::SHOW_FILTER, setting);
    m_shown->engine().settings()->apply();
    m_shown->cardButton(0, "MoreDetail")->setFocus();
    type("2");
    press(Qt::Key_Escape);
    QVERIFY(field()->isVisible());
    QVERIFY(button()->isVisible());
    QCOMPARE(QApplication::focusWidget(), field());
}

void SearchTest::otherKeysOfACardKeepTheirMeaning()
{
    m_shown->offerSome(3);
    QVERIFY(open());
    press(Qt::Key_X, Qt::AltModifier);
    press(Qt::Key_X, Qt::ControlModifier);
    press(Qt::Key_Escape);
    press(Qt::Key_Down);
    QVERIFY(!field()->isVisible());
    m_shown->cardButton(0, "MoreDetail")->setFocus();
    press(Qt::Key_Space);
    QVERIFY(m_shown->showsDetail());
    // Nothing is filtered from here.
    type("x");
    QVERIFY(!field()->isVisible());
    QVERIFY(m_shown->showsDetail());
}

// What goes on meanwhile -------------------------------------------------------------------------

void SearchTest::refreshKeepsTheSearch()
{
    m_shown->offerSome(5);
    QVERIFY(open());
    type("package-2");
    press(Qt::Key_Return);
    QCOMPARE(seen(), QVector<int>({2}));
    m_shown->offer(20);
    QVERIFY(m_shown->engine().refresh());
    QCOMPARE(field()->text(), QStringLiteral("package-2"));
    QVERIFY(field()->isVisible());
    QTRY_COMPARE(seen(), QVector<int>({2, 20}));
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-2"));
    press(Qt::Key_Escape);
    QCOMPARE(listed().size(), 6);
}

void SearchTest::refreshThatFindsNothingTellsIt()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    m_shown->engine().package(2)->setUpdateAvailable(true);
    m_shown->engine().package(2)->setState(Package::INSTALLED);
    field()->setFocus();
    type("update");
    QCOMPARE(seen(), QVector<int>({2}));
    press(Qt::Key_Return);
    // The new objects know of no installation.
    QVERIFY(m_shown->engine().refresh());
    QTRY_VERIFY(tellsNothingFound());
    QCOMPARE(focusedName(), QStringLiteral("Refresh"));
    field()->clear();
    QCOMPARE(seen(), QVector<int>({1, 2, 3}));
}

void SearchTest::searchWhileTheCatalogueIsOnItsWay()
{
    offerMany(Many);
    QVERIFY(open(true));
    QSignalSpy listedNow(&controller(), &PackageController::list);
    controller().refresh();
    field()->setText(QStringLiteral("package-39"));
    // The panel goes on telling that the catalogue comes.
    QVERIFY(panel()->isVisible());
    QVERIFY(!textOf(*panel(), "ProcessingMessage").contains(QLatin1String("No items")));
    QVERIFY(!m_shown->list().isVisible());
    QVERIFY(listedNow.wait());
    QTRY_COMPARE(listed().size(), 11);
    QCOMPARE(listed().first(), 39);
    QCOMPARE(listedNow.size(), 1);
}

void SearchTest::searchOnAnErrorPageChangesNothing()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    emit controller().error(QStringLiteral("Server Error"));
    for (const char *text : {"2", "nothing", ""}) {
        field()->setText(QString::fromLatin1(text));
        QVERIFY(panel()->isVisible());
        QCOMPARE(textOf(*panel(), "ProcessingMessage"), QStringLiteral("Server Error"));
        QVERIFY(!m_shown->list().isVisible());
    }
    field()->setText(QStringLiteral("2"));
    emit controller().list();
    QCOMPARE(seen(), QVector<int>({2}));
}

void SearchTest::backReturnsToTheFilteredList()
{
    offerMany(Many);
    QVERIFY(open(true));
    field()->setText(QStringLiteral("package-1"));
    QScrollBar *bar = m_shown->list().verticalScrollBar();
    bar->setValue(2000);
    const QVector<int> before = seen();
    QVERIFY(before.size() > 3);
    const int id = before.at(1);
    QWidget *opener = m_shown->cardButton(id - 1, "MoreDetail");
    QTest::mouseClick(opener, Qt::LeftButton);
    QVERIFY(m_shown->showsDetail());
    // What happens to it meanwhile does not matter.
    m_shown->engine().package(id)->setState(Package::INSTALLED);
    press(Qt::Key_Escape);
    QVERIFY(!m_shown->showsDetail());
    QCOMPARE(field()->text(), QStringLiteral("package-1"));
    QCOMPARE(bar->value(), 2000);
    QCOMPARE(seen(), before);
    QCOMPARE(QApplication::focusWidget(), opener);
}

void SearchTest::searchInTheDetailShowsTheList()
{
    m_shown->offerSome(3);
    QVERIFY(open());
    m_shown->openDetail(0);
    press(Qt::Key_F, Qt::ControlModifier);
    QCOMPARE(QApplication::focusWidget(), field());
    QVERIFY(m_shown->showsDetail());
    type("3");
    QVERIFY(!m_shown->showsDetail());
    QCOMPARE(seen(), QVector<int>({3}));
    QCOMPARE(QApplication::focusWidget(), field());
    // The package that was open is not in the list, and takes no keyboard.
    press(Qt::Key_Return);
    m_shown->openDetail(2);
    field()->setText(QStringLiteral("nothing"));
    QVERIFY(tellsNothingFound());
    QVERIFY(!m_shown->showsDetail());
}

void SearchTest::returnInTheDetailShowsTheFound()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    field()->setText(QStringLiteral("package"));
    m_shown->openDetail(2);
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Return);
    QVERIFY(!m_shown->showsDetail());
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-1"));
}

void SearchTest::packageThatChangesStaysUntilTheNextText()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    for (const int id : {1, 3}) {
        m_shown->engine().package(id)->setUpdateAvailable(true);
        m_shown->engine().package(id)->setState(Package::INSTALLED);
    }
    field()->setText(QStringLiteral("updat"));
    QCOMPARE(seen(), QVector<int>({1, 3}));
    m_shown->engine().package(1)->setState(Package::PREPARING);
    QCoreApplication::processEvents();
    QCOMPARE(seen(), QVector<int>({1, 3}));
    // The card says so all the same.
    QCOMPARE(m_shown->cardButton(0, "Busy")->text(), QStringLiteral("Preparing"));
    field()->setText(QStringLiteral("update"));
    QCOMPARE(seen(), QVector<int>({3}));
}

void SearchTest::errorOfAPackageThatIsNotListedIsTold()
{
    m_shown->offerSome(3);
    QVERIFY(open(true));
    field()->setText(QStringLiteral("package-2"));
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Install Error"),
                   QStringLiteral("Installation failed for package : package-1"), QMessageBox::Ok);
    m_shown->engine().package(1)->setState(Package::INSTALL_ERROR);
    QVERIFY(answers.waitForAll());
}

// Long lists -------------------------------------------------------------------------------------

void SearchTest::longListIsSearchedBeforeItsCardsAreThere()
{
    offerMany(3000);
    QVERIFY(m_shown->open(true));
    QVERIFY(!m_shown->list().rowWidget(2998));
    // Nothing was found yet, and more is to come.
    bool isGivenUp = false;
    connect(window().findChild<PackageFilter *>(), &PackageFilter::advanced, this,
            [this, &isGivenUp] { isGivenUp = isGivenUp || tellsNothingFound(); });
    field()->setFocus();
    field()->setText(QStringLiteral("package-2999"));
    QVERIFY(!tellsNothingFound());
    QTRY_COMPARE(seen(), QVector<int>({2999}));
    QVERIFY(!isGivenUp);
    press(Qt::Key_Return);
    QCOMPARE(focusedName(), QStringLiteral("More Detail: package-2999"));
}

void SearchTest::detailStaysWhileALongListIsRead()
{
    offerMany(3000);
    QVERIFY(m_shown->open(true));
    field()->setText(QStringLiteral("package"));
    m_shown->openDetail(0);
    QVERIFY(isRead());
    QVERIFY(m_shown->showsDetail());
    QVERIFY(!m_shown->list().isVisible());
    press(Qt::Key_Escape);
    QCOMPARE(listed().size(), 3000);
}

void SearchTest::cardsOfALongListAreMadeWhileItIsFiltered()
{
    offerMany(Many);
    QVERIFY(m_shown->open(true));
    QVERIFY(!m_shown->list().rowWidget(200));
    field()->setText(QStringLiteral("package-39"));
    QTRY_COMPARE(window().findChildren<PackageWidget *>().size(), Many);
    // Those that are not listed are not to be seen.
    const auto cards = window().findChildren<PackageWidget *>();
    for (const PackageWidget *card : cards) {
        const bool found = QByteArray::number(card->packageId()).startsWith("39");
        QVERIFY(found || !card->isVisible());
    }
    field()->clear();
    QCOMPARE(seen().first(), 1);
}

// Screen readers ---------------------------------------------------------------------------------

void SearchTest::screenReadersHearHowManyWereFound()
{
    m_shown->offerSome(30);
    QVERIFY(open(true));
    const auto spoken = [](QWidget *widget) {
        return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Description);
    };
    QVERIFY(!spoken(field()).contains(QLatin1String("packages")));
    field()->setFocus();
    type("package-3");
    QCOMPARE(spoken(field()), QStringLiteral("2 of 30 packages"));
    QCOMPARE(spoken(&m_shown->list()), QStringLiteral("2 of 30 packages"));
    type("x");
    QCOMPARE(spoken(field()), QStringLiteral("0 of 30 packages"));
    QCOMPARE(spokenName(panel()), QStringLiteral("No items found"));
    press(Qt::Key_Escape);
    QVERIFY(!spoken(field()).contains(QLatin1String("packages")));
}

KAVO_TEST_MAIN(SearchTest)
#include "SearchTest.moc"
