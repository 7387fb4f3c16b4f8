#include "dialogs/MessageBoxes.h"
#include "dialogs/SettingsDialog.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WindowTest.h"

#include <QLineEdit>
#include <QTabWidget>

using namespace Kavo::Testing;
using Kavo::Dialogs::SettingsDialog;

namespace {

/// A picture of a part of the window, including the focus ring.
QImage pictureOf(QWidget &window, const QWidget &part)
{
    constexpr int Surroundings = 6;
    const QRect place(part.mapTo(&window, QPoint()), part.size());
    return window.grab(place.adjusted(-Surroundings, -Surroundings, Surroundings, Surroundings))
        .toImage();
}

/// The widgets that look the same with focus and without.
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

/// Tests that the style sheet makes the focus visible on every widget.
class FocusLookTest final : public WindowTest
{
    Q_OBJECT

private slots:
    /// Tests the comparison itself.
    void comparisonFindsSameLook()
    {
        QVERIFY(open(true));
        QCOMPARE(alikeIn(window()), QStringList());
        auto *field = child<QLineEdit>(window(), "SearchField");
        // A read-only field has no cursor.
        field->setReadOnly(true);
        field->setStyleSheet("QLineEdit, QLineEdit:focus { border-color: red; outline: none; }"_s);
        QCOMPARE(alikeIn(window()), QStringList("SearchField: Search"_s));
    }

    void focusIsVisibleInTheList()
    {
        QVERIFY(openWith(1, true));
        for (const bool update : {false, true}) {
            setState(1, update ? Package::INSTALLED : Package::AVAILABLE, update);
            check(window(), (topBar(true) + filter() + cards(1)).size());
        }
    }

    void focusIsVisibleInTheDetail_data()
    {
        Rows<int, Package::State, bool, int>()
            .row("description", 0, Package::AVAILABLE, false, 9)
            .row("change log", 1, Package::INSTALLED, true, 10)
            .row("old versions", 2, Package::INSTALLED, false, 10);
    }

    void focusIsVisibleInTheDetail()
    {
        const auto [page, state, update, stops] = Rows<int, Package::State, bool, int>::current();
        offer(1, 2);
        QVERIFY(open());
        setState(1, state, update);
        openDetail(0);
        turnTo(page);
        // Pictures of a running animation cannot be compared.
        QTRY_COMPARE(shownColor(*child<QLabel>(window(), "CarouselImage")), QColor(Qt::red));
        check(window(), topBar().size() + stops);
    }

    void focusIsVisibleInTheSettings_data()
    {
        Rows<int, int>().row("general", 0, 4).row("paths", 1, 7).row("disk usage", 2, 3);
    }

    void focusIsVisibleInTheSettings()
    {
        const auto [page, stops] = Rows<int, int>::current();
        QVERIFY(open());
        SettingsDialog dialog(shared(), settings(), &window());
        child<QTabWidget>(dialog, "SettingsTabs")->setCurrentIndex(page);
        dialog.show();
        dialog.activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), &dialog);
        check(dialog, stops);
    }

    void focusIsVisibleInAQuestion()
    {
        QVERIFY(open());
        MessageBoxAnswers answers;
        answers.expect("Title"_s, "Text"_s, [](QMessageBox &box) {
            QTRY_COMPARE(QApplication::activeWindow(), &box);
            check(box, 2);
            box.done(QMessageBox::NoButton);
        });
        Kavo::Dialogs::confirm(&window(), QMessageBox::Question, "Title"_s, "Text"_s);
    }

private:
    /// Checks that Tab visits this many widgets and that the focus changes the look of each.
    static void check(QWidget &window, int stops)
    {
        // The first walk moves the focus into the window.
        QCOMPARE(walkAround(window).size(), stops);
        QCOMPARE(alikeIn(window), QStringList());
    }
};

KAVO_TEST_MAIN(FocusLookTest)
#include "FocusLookTest.moc"
