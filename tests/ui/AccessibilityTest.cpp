#include "components/WidgetList.h"
#include "core/Settings.h"
#include "dialogs/MessageBoxes.h"
#include "dialogs/SettingsDialog.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/ShownWindow.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"

#include <QAccessible>
#include <QComboBox>
#include <QListWidget>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTimer>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Components::WidgetList;
using Kavo::Controllers::PackageController;
using Kavo::Dialogs::SettingsDialog;
using Kavo::Models::Package;
using Kavo::Ui::PackageProcessingWidget;
using Kavo::Ui::PackageWidget;

namespace {

/// Without the search.
constexpr int TopBarControls = 7;
/// Three tabs, their bar and the pages.
constexpr int TabControls = 3 + 2;

/// What a walk down the tree that screen readers see has found.
struct Walk
{
    int controls = 0;        ///< what can be operated or has the keyboard or a value
    QStringList nameless;    ///< where the controls without a name are
    QSet<QObject *> objects; ///< everything on the way that is visible
};

QString placeOf(QAccessibleInterface &part)
{
    QString place;
    QAccessibleInterface *step = &part;
    while (step) {
        const QObject *object = step->object();
        place.prepend(QLatin1Char('/') +
                      (object
                           ? object->objectName() + QLatin1Char('(') +
                                 QLatin1String(object->metaObject()->className()) + QLatin1Char(')')
                           : QStringLiteral("-")));
        step = object && object->isWidgetType() && static_cast<const QWidget *>(object)->isWindow()
                   ? nullptr
                   : step->parent();
    }
    return place;
}

/// On this system the name of a combo box is its text; what it is for tells its label.
bool hasName(QAccessibleInterface &part)
{
    if (part.role() != QAccessible::ComboBox)
        return !part.text(QAccessible::Name).trimmed().isEmpty();
    const auto relations = part.relations(QAccessible::Label);
    return !relations.isEmpty() &&
           !relations.first().first->text(QAccessible::Name).trimmed().isEmpty();
}

bool isControl(QAccessibleInterface &part)
{
    if (part.state().focusable || part.role() == QAccessible::ProgressBar)
        return true;
    // The list of a combo box has the name of the box.
    if (part.role() == QAccessible::List)
        return part.parent()->role() != QAccessible::ComboBox;
    return part.actionInterface() && !part.actionInterface()->actionNames().isEmpty();
}

void walk(QAccessibleInterface &part, Walk &found)
{
    if (part.state().invisible)
        return;
    found.objects.insert(part.object());
    if (isControl(part)) {
        ++found.controls;
        if (!hasName(part))
            found.nameless.append(placeOf(part));
    }
    for (int i = 0; i < part.childCount(); ++i) {
        if (QAccessibleInterface *inner = part.child(i))
            walk(*inner, found);
    }
}

Walk walk(QWidget &window)
{
    Walk found;
    if (QAccessibleInterface *part = QAccessible::queryAccessibleInterface(&window))
        walk(*part, found);
    return found;
}

QString lines(const QStringList &list)
{
    return QLatin1Char('\n') + list.join(QLatin1Char('\n'));
}

/// The widgets that can have the keyboard but are missing in the walk.
QStringList missedIn(const Walk &found, const QWidget &window)
{
    QStringList missed;
    const auto widgets = window.findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        const bool wanted = qobject_cast<QProgressBar *>(widget) ||
                            (widget->focusPolicy() != Qt::NoFocus && !widget->focusProxy());
        if (wanted && widget->isVisible() && widget->window() == &window &&
            !found.objects.contains(widget))
            missed.append(widget->objectName() + QLatin1String(widget->metaObject()->className()));
    }
    return missed;
}

} // namespace

/// A screen reader finds every control and has a name for it.
class AccessibilityTest final : public QObject
{
    Q_OBJECT

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void initTestCase();
    void init() { m_shown = std::make_unique<ShownWindow>(); }
    void cleanup() { m_shown.reset(); }

    void namelessButtonIsFound();
    void list();
    void listWithTheFilter();
    void cardsOfEveryState_data();
    void cardsOfEveryState();
    void waiting();
    void nothingToShow();
    void error();
    void detail_data();
    void detail();
    void settings_data();
    void settings();
    void messageBox_data();
    void messageBox();

    void rowsOfAListAreItsChildren();
    void cardIsNamedAfterItsPackage();
    void picturesAreCounted();
    void windowButtonTellsWhatItDoes();

private:
    QWidget &window() { return m_shown->window(); }
    PackageController &controller() { return m_shown->engine().controller(); }
    /// What the panel in the place of the list is called.
    QString panelName();
    /// Nothing is nameless, nothing is missed, and there are so many controls.
    static void check(QWidget &window, int controls);

    std::unique_ptr<ShownWindow> m_shown;
    bool m_wasDescribedEarly = false;
};

void AccessibilityTest::initTestCase()
{
    QAccessible::setActive(true);
    qApp->installEventFilter(this);
}

/// Where a screen reader is at work before the program starts, Qt has a list described while the
/// constructor of QListWidget runs. It does not do that off-screen, so it is done here.
bool AccessibilityTest::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ChildAdded && qobject_cast<QListWidget *>(watched) &&
        QAccessible::queryAccessibleInterface(watched))
        m_wasDescribedEarly = true;
    return QObject::eventFilter(watched, event);
}

void AccessibilityTest::check(QWidget &window, int controls)
{
    const Walk found = walk(window);
    QVERIFY2(found.nameless.isEmpty(), qPrintable(lines(found.nameless)));
    const QStringList missed = missedIn(found, window);
    QVERIFY2(missed.isEmpty(), qPrintable(lines(missed)));
    QCOMPARE(found.controls, controls);
}

QString AccessibilityTest::panelName()
{
    for (auto *panel : window().findChildren<PackageProcessingWidget *>()) {
        if (panel->isVisible())
            return spokenName(panel);
    }
    return QStringLiteral("(no panel)");
}

/// The walk itself: it reaches the innermost button, in a card of a list too.
void AccessibilityTest::namelessButtonIsFound()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    for (QWidget *place :
         {window().findChild<QWidget *>(QStringLiteral("TopBar")), m_shown->list().rowWidget(1)}) {
        QVERIFY(walk(window()).nameless.isEmpty());
        const int before = walk(window()).controls;
        QPushButton nameless(place);
        nameless.setObjectName(QStringLiteral("Nameless"));
        nameless.show();
        const Walk found = walk(window());
        QCOMPARE(found.controls, before + 1);
        QCOMPARE(found.nameless.size(), 1);
        QVERIFY(found.nameless.first().endsWith(QStringLiteral("/Nameless(QPushButton)")));
        nameless.setAccessibleName(QStringLiteral("Name"));
        QVERIFY(walk(window()).nameless.isEmpty());
        nameless.hide();
        QCOMPARE(walk(window()).controls, before);
    }
}

void AccessibilityTest::list()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    check(window(), TopBarControls + 1 + 3 * 2);
}

void AccessibilityTest::listWithTheFilter()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open(true));
    // Two for the search; in the filter a choice of two and a list of two.
    check(window(), TopBarControls + 2 + 1 + 3 * 2 + 3 + 3);
}

void AccessibilityTest::cardsOfEveryState_data()
{
    QTest::addColumn<Package::State>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("progress");
    const auto row = [](const char *action, Package::State state, bool progress = false,
                        bool update = false) {
        QTest::newRow(action) << state << update << QString::fromUtf8(action) << progress;
    };
    row("Download", Package::AVAILABLE);
    row("Installed", Package::INSTALLED);
    row("Update", Package::INSTALLED, false, true);
    row("Preparing", Package::PREPARING, true);
    row("Downloading", Package::DOWNLOADING, true);
    row("Installing", Package::INSTALLING, true);
    row("Uninstalling", Package::UNINSTALLING, true);
    row("Install Error", Package::INSTALL_ERROR);
    row("Download Error", Package::DOWNLOAD_ERROR);
    row("Dependency Error", Package::DEPENDENCY_ERROR);
}

void AccessibilityTest::cardsOfEveryState()
{
    QFETCH(Package::State, state);
    QFETCH(bool, update);
    QFETCH(QString, action);
    QFETCH(bool, progress);
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    // Failures are told in boxes besides, where they are seen.
    emit controller().busy();
    m_shown->engine().package(2)->setUpdateAvailable(update);
    m_shown->engine().package(2)->setState(state);
    emit controller().list();
    check(window(), TopBarControls + 1 + 2 * 2 + (progress ? 1 : 0));

    auto *card = static_cast<PackageWidget *>(m_shown->list().rowWidget(1));
    QCOMPARE(spokenName(card), QStringLiteral("package-2"));
    QCOMPARE(QAccessible::queryAccessibleInterface(card)->text(QAccessible::Description), action);
    const auto buttons = card->findChildren<QPushButton *>();
    QCOMPARE(spokenName(buttons.first()), action + QStringLiteral(": package-2"));
    QCOMPARE(buttons.first()->text(), action);
    QCOMPARE(spokenName(buttons.last()), QStringLiteral("More Detail: package-2"));
    QCOMPARE(buttons.last()->text(), QStringLiteral("More Detail"));
    QCOMPARE(spokenName(child<QProgressBar>(*card, "PackageProgress")),
             QStringLiteral("Progress: package-2"));
}

void AccessibilityTest::waiting()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    emit controller().busy();
    check(window(), TopBarControls);
    QCOMPARE(panelName(), QStringLiteral("Please wait"));
}

void AccessibilityTest::nothingToShow()
{
    QVERIFY(m_shown->open());
    emit controller().empty();
    check(window(), TopBarControls);
    QCOMPARE(panelName(), QStringLiteral("No items found"));
}

void AccessibilityTest::error()
{
    QVERIFY(m_shown->open());
    emit controller().error(QStringLiteral("Connection refused"));
    check(window(), TopBarControls);
    QCOMPARE(panelName(), QStringLiteral("Connection refused"));
}

void AccessibilityTest::detail_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("banners");
    QTest::addColumn<int>("controls");
    // The way back, help and manual, the tabs and the page.
    const int always = TopBarControls + 1 + 2 + TabControls + 1;
    QTest::newRow("description") << 0 << 0 << always + 1;
    QTest::newRow("change log") << 1 << 0 << always + 1;
    QTest::newRow("old versions") << 2 << 0 << always + 1 + 2;
    QTest::newRow("banners") << 0 << 3 << always + 1 + 2;
}

void AccessibilityTest::detail()
{
    QFETCH(int, page);
    QFETCH(int, banners);
    QFETCH(int, controls);
    m_shown->offer(1, banners);
    QVERIFY(m_shown->open());
    for (const auto state : {Package::AVAILABLE, Package::INSTALLED, Package::DOWNLOADING}) {
        m_shown->engine().package(1)->setState(state);
        emit controller().detail(m_shown->engine().package(1));
        child<QTabWidget>(window(), "DetailTabs")->setCurrentIndex(page);
        const int actions = state == Package::AVAILABLE ? 1 : (state == Package::INSTALLED ? 2 : 0);
        check(window(), controls + actions);
        if (QTest::currentTestFailed())
            return;
    }
    QCOMPARE(spokenName(window().findChild<QWidget *>(QStringLiteral("PackageDetail"))),
             QStringLiteral("package-1"));
}

void AccessibilityTest::settings_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("controls");
    QTest::newRow("general") << 0 << TabControls + 2 + 3;
    QTest::newRow("paths") << 1 << TabControls + 2 + 4 * 2;
    QTest::newRow("disk usage") << 2 << TabControls + 2;
}

void AccessibilityTest::settings()
{
    QFETCH(int, page);
    QFETCH(int, controls);
    QVERIFY(m_shown->open());
    SettingsDialog dialog(sharedController(m_shown->engine()), m_shown->engine().settings(),
                          &window());
    child<QTabWidget>(dialog, "SettingsTabs")->setCurrentIndex(page);
    dialog.show();
    check(dialog, controls);
}

void AccessibilityTest::messageBox_data()
{
    QTest::addColumn<bool>("question");
    QTest::addColumn<int>("controls");
    // The text can be read with the keyboard, too.
    QTest::newRow("message") << false << 1 + 1;
    QTest::newRow("question") << true << 1 + 2;
}

void AccessibilityTest::messageBox()
{
    QFETCH(bool, question);
    QFETCH(int, controls);
    bool seen = false;
    QTimer::singleShot(0, this, [controls, &seen] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        check(*box, controls);
        QVERIFY(!spokenName(child<QLabel>(*box, "qt_msgbox_label")).isEmpty());
        seen = true;
        box->done(QMessageBox::NoButton);
    });
    const QString text = QStringLiteral("Text");
    if (question)
        Kavo::Dialogs::confirm(nullptr, QMessageBox::Question, QStringLiteral("Title"), text);
    else
        Kavo::Dialogs::showMessage(nullptr, QMessageBox::Critical, QString(), text);
    QVERIFY(seen);
}

void AccessibilityTest::rowsOfAListAreItsChildren()
{
    m_shown->offerSome(3);
    QVERIFY(m_shown->open());
    QVERIFY(m_wasDescribedEarly);
    QAccessibleInterface *list = QAccessible::queryAccessibleInterface(&m_shown->list());
    QCOMPARE(list->role(), QAccessible::List);
    QCOMPARE(list->text(QAccessible::Name), QStringLiteral("Packages"));
    QCOMPARE(child<WidgetList>(window(), "PackageDetailOldVersionsList")->accessibleName(),
             QStringLiteral("Old versions"));
    // From a card up to the list and down again.
    QAccessibleInterface *card =
        QAccessible::queryAccessibleInterface(m_shown->list().rowWidget(2));
    QAccessibleInterface *viewport = card->parent();
    QCOMPARE(viewport->parent(), list);
    QVERIFY(list->indexOfChild(viewport) >= 0);
    QCOMPARE(viewport->childCount(), 3);
    QCOMPARE(viewport->child(2), card);
}

void AccessibilityTest::cardIsNamedAfterItsPackage()
{
    m_shown->offerSome(2);
    QVERIFY(m_shown->open());
    // No two buttons of the list are called the same.
    QStringList names;
    for (QPushButton *button : m_shown->list().findChildren<QPushButton *>())
        names.append(spokenName(button));
    QCOMPARE(names.size(), 4);
    QCOMPARE(names.removeDuplicates(), 0);
    // The whole description, not what is left of it on the card.
    auto *description = child<QLabel>(*m_shown->list().rowWidget(0), "PackageDescription");
    QVERIFY(description->text().endsWith(QChar(0x2026)));
    QCOMPARE(spokenName(description), QStringLiteral("What it is. ").repeated(500).trimmed());
}

void AccessibilityTest::picturesAreCounted()
{
    m_shown->offer(1, 3);
    QVERIFY(m_shown->open());
    emit controller().detail(m_shown->engine().package(1));
    auto *picture = child<QLabel>(window(), "CarouselImage");
    QCOMPARE(spokenName(picture), QStringLiteral("Picture 1 of 3"));
    child<QPushButton>(window(), "CarouselNext")->click();
    QCOMPARE(spokenName(picture), QStringLiteral("Picture 2 of 3"));
    child<QPushButton>(window(), "CarouselPrevious")->click();
    child<QPushButton>(window(), "CarouselPrevious")->click();
    QCOMPARE(spokenName(picture), QStringLiteral("Picture 3 of 3"));
}

void AccessibilityTest::windowButtonTellsWhatItDoes()
{
    QVERIFY(m_shown->open());
    auto *toggle = child<QPushButton>(window(), "WindowMaximize");
    QCOMPARE(spokenName(toggle), QStringLiteral("Maximize"));
    toggle->click();
    QCOMPARE(spokenName(toggle), QStringLiteral("Restore"));
    toggle->click();
    QCOMPARE(spokenName(toggle), QStringLiteral("Maximize"));
}

KAVO_TEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
