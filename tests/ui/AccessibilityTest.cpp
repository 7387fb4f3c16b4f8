#include "components/WidgetList.h"
#include "dialogs/MessageBoxes.h"
#include "dialogs/SettingsDialog.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WindowTest.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"

#include <QAccessible>
#include <QComboBox>
#include <QListWidget>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTimer>

using namespace Kavo::Testing;
using Kavo::Components::WidgetList;
using Kavo::Dialogs::SettingsDialog;
using Kavo::Ui::PackageProcessingWidget;
using Kavo::Ui::PackageWidget;

Q_DECLARE_METATYPE(std::function<void()>)

namespace {

/// The result of a walk through the tree of accessible objects.
struct Walk
{
    QStringList controls;    ///< names of parts that can be operated or focused or have a value
    QStringList nameless;    ///< paths of the controls without a name
    QSet<QObject *> objects; ///< all visible objects that were visited
};

/// The path from the window to a part, for failure messages.
QString placeOf(QAccessibleInterface &part)
{
    const QObject *object = part.object();
    const auto *widget = qobject_cast<const QWidget *>(object);
    const QString above = widget && widget->isWindow() ? QString() : placeOf(*part.parent());
    if (!object)
        return above + "/-"_s;
    return above +
           "/%1(%2)"_s.arg(object->objectName(), QLatin1String(object->metaObject()->className()));
}

/// On this system the accessible name of a combo box is its text, so its label is used instead.
QString nameOf(QAccessibleInterface &part)
{
    if (part.role() != QAccessible::ComboBox)
        return part.text(QAccessible::Name).trimmed();
    const auto relations = part.relations(QAccessible::Label);
    return relations.isEmpty() ? QString()
                               : relations.first().first->text(QAccessible::Name).trimmed();
}

bool isControl(QAccessibleInterface &part)
{
    if (part.state().focusable || part.role() == QAccessible::ProgressBar)
        return true;
    // The combo box itself is checked instead of its list.
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
        found.controls.append(nameOf(part));
        if (nameOf(part).isEmpty())
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

/// The widgets that accept focus but are missing in the walk.
QStringList missedIn(const Walk &found, const QWidget &window)
{
    QStringList missed;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        const bool wanted = qobject_cast<QProgressBar *>(widget) ||
                            (widget->focusPolicy() != Qt::NoFocus && !widget->focusProxy());
        if (wanted && widget->isVisible() && widget->window() == &window &&
            !found.objects.contains(widget))
            missed.append(widget->objectName() + QLatin1String(widget->metaObject()->className()));
    }
    return missed;
}

QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

/// Checks that every control has a name, that none is missing, and that these are the names.
void check(QWidget &window, const QStringList &controls)
{
    const Walk found = walk(window);
    QCOMPARE(found.nameless, QStringList());
    QCOMPARE(missedIn(found, window), QStringList());
    QCOMPARE(sorted(found.controls).join(QLatin1Char('\n')),
             sorted(controls).join(QLatin1Char('\n')));
}

} // namespace

/// Tests that a screen reader finds every control and a name for it.
class AccessibilityTest final : public WindowTest
{
    Q_OBJECT

protected:
    /// If a screen reader is active before the program starts, Qt creates the accessible object of
    /// a list during the constructor of QListWidget. Qt does not do that off-screen.
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::ChildAdded && qobject_cast<QListWidget *>(watched) &&
            QAccessible::queryAccessibleInterface(watched))
            m_wasDescribedEarly = true;
        return QObject::eventFilter(watched, event);
    }

private slots:
    void initTestCase()
    {
        WindowTest::initTestCase();
        QAccessible::setActive(true);
        qApp->installEventFilter(this);
    }

    /// Tests the walk itself. It reaches buttons in the cards of a list as well.
    void namelessButtonIsFound()
    {
        QVERIFY(openWith(2));
        for (QWidget *place : {window().findChild<QWidget *>("TopBar"_s), list().rowWidget(1)}) {
            const QStringList before = walk(window()).controls;
            QCOMPARE(walk(window()).nameless, QStringList());
            QPushButton nameless(place);
            nameless.setObjectName("Nameless"_s);
            nameless.show();
            QCOMPARE(walk(window()).nameless.size(), 1);
            QVERIFY(walk(window()).nameless.first().endsWith("/Nameless(QPushButton)"_s));
            nameless.setAccessibleName("Name"_s);
            QCOMPARE(walk(window()).nameless, QStringList());
            QCOMPARE(sorted(walk(window()).controls), sorted(before + QStringList("Name"_s)));
            nameless.hide();
            QCOMPARE(walk(window()).controls, before);
        }
    }

    void controlsOfTheList_data() { Rows<bool>().row("alone", false).row("with the filter", true); }
    void controlsOfTheList()
    {
        const auto [filter] = Rows<bool>::current();
        QVERIFY(openWith(3, filter));
        const QStringList choices{"Category"_s, "Plugin"_s, "Library"_s,
                                  "Type"_s,     "Free"_s,   "Paid"_s};
        check(window(), topBar(filter) + QStringList("Packages"_s) + cards(3) +
                            (filter ? choices : QStringList()));
    }

    void controlsOfEveryState_data()
    {
        Rows<Package::State, bool>()
            .row("Download", Package::AVAILABLE, false)
            .row("Installed", Package::INSTALLED, false)
            .row("Update", Package::INSTALLED, true)
            .row("Preparing", Package::PREPARING, false)
            .row("Downloading", Package::DOWNLOADING, false)
            .row("Installing", Package::INSTALLING, false)
            .row("Uninstalling", Package::UNINSTALLING, false)
            .row("Install Error", Package::INSTALL_ERROR, false)
            .row("Download Error", Package::DOWNLOAD_ERROR, false)
            .row("Dependency Error", Package::DEPENDENCY_ERROR, false);
    }

    void controlsOfEveryState()
    {
        const auto [state, update] = Rows<Package::State, bool>::current();
        const QString action = QString::fromLatin1(QTest::currentDataTag());
        QVERIFY(openWith(2));
        // A visible card would also show a message box for an error.
        emit controller().busy();
        setState(2, state, update);
        emit controller().list();
        auto *card = static_cast<PackageWidget *>(list().rowWidget(1));
        auto *progress = child<QProgressBar>(*card, "PackageProgress");
        const QString progressName = "Progress: package-2"_s;
        QCOMPARE(progress->isVisible(), package(2)->isBusy());
        check(window(), topBar() + QStringList("Packages"_s) + cards(1) +
                            QStringList{action + ": package-2"_s, "More Detail: package-2"_s} +
                            (progress->isVisible() ? QStringList(progressName) : QStringList()));

        QCOMPARE(spokenName(progress), progressName);
        QCOMPARE(spokenName(card), "package-2"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(card)->text(QAccessible::Description),
                 action);
        const auto buttons = card->findChildren<QPushButton *>();
        QCOMPARE(buttons.first()->text(), action);
        QCOMPARE(buttons.last()->text(), "More Detail"_s);
    }

    void panelsAreNamed_data()
    {
        Rows<QString, std::function<void()>>()
            .row("waiting", "Please wait", [this] { emit controller().busy(); })
            .row("nothing", "No items found", [this] { emit controller().empty(); })
            .row("error", "Refused", [this] { emit controller().error("Refused"_s); });
    }

    void panelsAreNamed()
    {
        const auto [name, show] = Rows<QString, std::function<void()>>::current();
        QVERIFY(openWith(2));
        show();
        check(window(), topBar());
        QStringList panels;
        for (auto *panel : window().findChildren<PackageProcessingWidget *>()) {
            if (panel->isVisible())
                panels.append(spokenName(panel));
        }
        QCOMPARE(panels, QStringList(name));
    }

    void controlsOfTheDetail_data()
    {
        Rows<int, int, QString, QStringList>()
            .row("description", 0, 0, "Description", {})
            .row("change log", 1, 0, "Change log", {})
            .row("old versions", 2, 0, "Old versions", {"Download: 2.0"_s, "Download: 1.0"_s})
            .row("banners", 0, 3, "Description", {"Previous picture"_s, "Next picture"_s});
    }

    void controlsOfTheDetail()
    {
        const auto [page, banners, name, controls] =
            Rows<int, int, QString, QStringList>::current();
        const QStringList always{"Back"_s, "Get Help"_s, "Manual"_s, "Page"_s};
        // The page of a tab and the scroll area in it have the same name.
        const QStringList tabs{"Details"_s, "Description"_s, "Change log"_s, "Old versions"_s, name,
                               name};
        const QMap<Package::State, QStringList> actions{
            {Package::AVAILABLE, {"Download"_s}},
            {Package::INSTALLED, {"Installed"_s, "Uninstall"_s}},
            {Package::DOWNLOADING, {}}};
        offer(1, banners);
        QVERIFY(open());
        for (const auto state : actions.keys()) {
            setState(1, state);
            emit controller().detail(package(1));
            turnTo(page);
            check(window(), topBar() + always + tabs + controls + actions.value(state));
            if (QTest::currentTestFailed())
                return;
        }
        QCOMPARE(spokenName(child<QWidget>(window(), "PackageDetail")), "package-1"_s);
    }

    void controlsOfTheSettings_data()
    {
        Rows<int, QStringList>()
            .row("general", 0, {"General"_s, "Language :"_s, "English"_s, "German"_s})
            .row("paths", 1,
                 {"Paths"_s, "X-Plane"_s, "Browse: X-Plane"_s, "Cache"_s, "Browse: Cache"_s,
                  "Preserve"_s, "Browse: Preserve"_s, "Backup"_s, "Browse: Backup"_s})
            .row("disk usage", 2, {"Disk Usage"_s});
    }

    void controlsOfTheSettings()
    {
        const auto [page, controls] = Rows<int, QStringList>::current();
        QVERIFY(open());
        SettingsDialog dialog(shared(), settings(), &window());
        child<QTabWidget>(dialog, "SettingsTabs")->setCurrentIndex(page);
        dialog.show();
        const QStringList tabs{"Settings"_s, "General"_s, "Paths"_s, "Disk Usage"_s};
        check(dialog, tabs + controls + QStringList{"Ok"_s, "Cancel"_s});
    }

    /// The text accepts focus as well.
    void messageBoxes()
    {
        MessageBoxAnswers answers;
        const auto expect = [&answers](const QStringList &controls) {
            answers.expect("Title"_s, "Text"_s, [controls](QMessageBox &box) {
                check(box, controls);
                box.done(QMessageBox::NoButton);
            });
        };
        expect({"Text"_s, "OK"_s});
        Kavo::Dialogs::showMessage(nullptr, QMessageBox::Critical, "Title"_s, "Text"_s);
        expect({"Text"_s, "Yes"_s, "No"_s});
        Kavo::Dialogs::confirm(nullptr, QMessageBox::Question, "Title"_s, "Text"_s);
    }

    void rowsOfAListAreItsChildren()
    {
        QVERIFY(openWith(3));
        QVERIFY(m_wasDescribedEarly);
        WidgetList &cards = list();
        QAccessibleInterface *described = QAccessible::queryAccessibleInterface(&cards);
        QCOMPARE(described->role(), QAccessible::List);
        QCOMPARE(child<WidgetList>(window(), "PackageDetailOldVersionsList")->accessibleName(),
                 "Old versions"_s);
        // The parent of a card leads to the list, and the children of the list lead to the card.
        QAccessibleInterface *card = QAccessible::queryAccessibleInterface(cards.rowWidget(2));
        QAccessibleInterface *viewport = card->parent();
        QCOMPARE(viewport->parent(), described);
        QVERIFY(described->indexOfChild(viewport) >= 0);
        QCOMPARE(viewport->childCount(), 3);
        QCOMPARE(viewport->child(2), card);
    }

    /// The accessible name is the whole description, although the card elides it.
    void wholeDescriptionIsAccessible()
    {
        QVERIFY(openWith(1));
        auto *description = child<QLabel>(*list().rowWidget(0), "PackageDescription");
        QVERIFY(description->text().endsWith(QChar(0x2026)));
        QCOMPARE(spokenName(description), "What it is. "_s.repeated(500).trimmed());
    }

    void picturesAreCounted()
    {
        offer(1, 3);
        QVERIFY(open());
        emit controller().detail(package(1));
        auto *picture = child<QLabel>(window(), "CarouselImage");
        QCOMPARE(spokenName(picture), "Picture 1 of 3"_s);
        child<QPushButton>(window(), "CarouselNext")->click();
        QCOMPARE(spokenName(picture), "Picture 2 of 3"_s);
        child<QPushButton>(window(), "CarouselPrevious")->click();
        child<QPushButton>(window(), "CarouselPrevious")->click();
        QCOMPARE(spokenName(picture), "Picture 3 of 3"_s);
    }

    void windowButtonIsNamedAfterItsAction()
    {
        QVERIFY(open());
        auto *toggle = child<QPushButton>(window(), "WindowMaximize");
        for (const QString &name : {"Maximize"_s, "Restore"_s, "Maximize"_s}) {
            QCOMPARE(spokenName(toggle), name);
            toggle->click();
        }
    }

private:
    bool m_wasDescribedEarly = false;
};

KAVO_TEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
