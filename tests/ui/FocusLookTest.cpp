#include "dialogs/MessageBoxes.h"
#include "dialogs/SettingsDialog.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WindowTest.h"

#include <QLineEdit>
#include <QTabWidget>

using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;
using Kavo::Dialogs::SettingsDialog;
using Kavo::Models::Package;

namespace {

/// With the ring around it.
QImage pictureOf(QWidget &window, const QWidget &part)
{
    constexpr int Surroundings = 6;
    const QRect place(part.mapTo(&window, QPoint()), part.size());
    return window.grab(place.adjusted(-Surroundings, -Surroundings, Surroundings, Surroundings))
        .toImage();
}

/// The widgets of a walk around that look the same with the keyboard and without.
QStringList alikeIn(QWidget &window)
{
    QStringList alike;
    for (QWidget *widget : walkAround(window)) {
        widget->setFocus(Qt::TabFocusReason);
        const QImage focused = pictureOf(window, *widget);
        widget->clearFocus();
        if (pictureOf(window, *widget) == focused)
            alike.append(widget->objectName() + ": "_s + spokenName(widget));
    }
    return alike;
}

} // namespace

/// With the program's style everybody sees where the keyboard is.
class FocusLookTest final : public WindowTest
{
    Q_OBJECT

private slots:
    /// The comparison itself.
    void sameLookIsSeen()
    {
        QVERIFY(open(true));
        QCOMPARE(alikeIn(window()), QStringList());
        auto *field = child<QLineEdit>(window(), "SearchField");
        // Without the cursor.
        field->setReadOnly(true);
        field->setStyleSheet("QLineEdit, QLineEdit:focus { border-color: red; outline: none; }"_s);
        QCOMPARE(alikeIn(window()), QStringList("SearchField: Search"_s));
    }

    void keyboardIsSeenInTheList_data()
    {
        table<Package::State, bool, QStringList>(
            {"state", "update", "buttons"},
            {{"download", Package::AVAILABLE, false, {"Download: package-1"_s}},
             {"update", Package::INSTALLED, true, {"Update: package-1"_s}},
             {"installed", Package::INSTALLED, false, {}},
             {"busy", Package::INSTALLING, false, {}}});
    }

    void keyboardIsSeenInTheList()
    {
        QFETCH(Package::State, state);
        QFETCH(bool, update);
        QFETCH(QStringList, buttons);
        offer(1);
        QVERIFY(open(true));
        setState(1, state, update);
        check(window(),
              topBar(true) + filter() + buttons + QStringList("More Detail: package-1"_s));
    }

    void keyboardIsSeenInTheDetail_data()
    {
        table<int, Package::State, bool, QStringList, QStringList>(
            {"page", "state", "update", "actions", "parts"},
            {{"description",
              0,
              Package::AVAILABLE,
              false,
              {"Download"_s},
              {"Description"_s, "Description"_s}},
             {"change log",
              1,
              Package::INSTALLED,
              true,
              {"Update"_s, "Uninstall"_s},
              {"Change log"_s, "Change log"_s}},
             {"old versions",
              2,
              Package::INSTALLED,
              false,
              {"Uninstall"_s},
              {"Old versions"_s, "Download: 2.0"_s, "Download: 1.0"_s}}});
    }

    void keyboardIsSeenInTheDetail()
    {
        QFETCH(int, page);
        QFETCH(Package::State, state);
        QFETCH(bool, update);
        QFETCH(QStringList, actions);
        QFETCH(QStringList, parts);
        offer(1, 2);
        QVERIFY(open());
        setState(1, state, update);
        openDetail(0);
        turnTo(page);
        // A picture that moves is none to compare with.
        QTRY_COMPARE(shownColor(*child<QLabel>(window(), "CarouselImage")), QColor(Qt::red));
        check(window(), topBar() + QStringList{"Back"_s, "Previous picture"_s, "Next picture"_s} +
                            actions + QStringList{"Get Help"_s, "Manual"_s} + parts +
                            QStringList("Page"_s));
    }

    void keyboardIsSeenInTheSettings_data()
    {
        table<int, QStringList>({"page", "parts"},
                                {{"general", 0, {"General"_s, "English"_s}},
                                 {"paths",
                                  1,
                                  {"Paths"_s, "Browse: X-Plane"_s, "Browse: Cache"_s,
                                   "Browse: Preserve"_s, "Browse: Backup"_s}},
                                 {"disk usage", 2, {"Disk Usage"_s}}});
    }

    void keyboardIsSeenInTheSettings()
    {
        QFETCH(int, page);
        QFETCH(QStringList, parts);
        QVERIFY(open());
        SettingsDialog dialog(shared(), engine().settings(), &window());
        child<QTabWidget>(dialog, "SettingsTabs")->setCurrentIndex(page);
        dialog.show();
        dialog.activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), &dialog);
        check(dialog, parts + QStringList{"Ok"_s, "Cancel"_s});
    }

    void keyboardIsSeenInAQuestion()
    {
        QVERIFY(open());
        MessageBoxAnswers answers;
        answers.expect("Title"_s, "Text"_s, [](QMessageBox &box) {
            QTRY_COMPARE(QApplication::activeWindow(), &box);
            check(box, {"Yes"_s, "No"_s});
            box.done(QMessageBox::NoButton);
        });
        Kavo::Dialogs::confirm(&window(), QMessageBox::Question, "Title"_s, "Text"_s);
        QVERIFY(answers.allShown());
    }

private:
    /// The keyboard comes to what has these names, and each of them looks different with it.
    static void check(QWidget &window, const QStringList &stops)
    {
        // The first step goes there by itself.
        QCOMPARE(spokenNames(walkAround(window)), stops);
        QCOMPARE(alikeIn(window), QStringList());
    }
};

KAVO_TEST_MAIN(FocusLookTest)
#include "FocusLookTest.moc"
