#include "dialogs/MessageBoxes.h"
#include "dialogs/SettingsDialog.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/TestMain.h"
#include "tests/ui/ShownWindow.h"

#include <QLineEdit>
#include <QTabWidget>
#include <QTimer>

#include <memory>

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
            alike.append(widget->objectName() + QStringLiteral(": ") + spokenName(widget));
    }
    return alike;
}

} // namespace

/// With the program's style everybody sees where the keyboard is.
class FocusLookTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_shown.reset(); }

    void sameLookIsSeen();
    void list_data();
    void list();
    void detail_data();
    void detail();
    void settings_data();
    void settings();
    void question();

private:
    QWidget &window() { return m_shown->window(); }
    static void check(QWidget &window, int stops);

    std::unique_ptr<ShownWindow> m_shown;
};

void FocusLookTest::init()
{
    m_shown = std::make_unique<ShownWindow>();
}

void FocusLookTest::check(QWidget &window, int stops)
{
    // The first step goes there by itself.
    QCOMPARE(walkAround(window).size(), stops);
    const QStringList alike = alikeIn(window);
    QVERIFY2(alike.isEmpty(), qPrintable(QLatin1Char('\n') + alike.join(QLatin1Char('\n'))));
}

/// The comparison itself.
void FocusLookTest::sameLookIsSeen()
{
    QVERIFY(m_shown->open(true));
    QVERIFY(alikeIn(window()).isEmpty());
    auto *field = child<QLineEdit>(window(), "SearchField");
    // Without the cursor.
    field->setReadOnly(true);
    field->setStyleSheet(
        QStringLiteral("QLineEdit, QLineEdit:focus { border-color: red; outline: none; }"));
    QCOMPARE(alikeIn(window()), QStringList(QStringLiteral("SearchField: Search")));
}

void FocusLookTest::list_data()
{
    QTest::addColumn<Package::State>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<int>("buttons");
    QTest::newRow("download") << Package::AVAILABLE << false << 2;
    QTest::newRow("update") << Package::INSTALLED << true << 2;
    QTest::newRow("installed") << Package::INSTALLED << false << 1;
    QTest::newRow("busy") << Package::INSTALLING << false << 1;
}

void FocusLookTest::list()
{
    QFETCH(Package::State, state);
    QFETCH(bool, update);
    QFETCH(int, buttons);
    m_shown->offer(1);
    QVERIFY(m_shown->open(true));
    m_shown->engine().package(1)->setUpdateAvailable(update);
    m_shown->engine().package(1)->setState(state);
    check(window(), 7 + 2 + 2 + buttons);
}

void FocusLookTest::detail_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<Package::State>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<int>("stops");
    const int always = 7 + 1 + 2 + 2 + 2;
    QTest::newRow("description") << 0 << Package::AVAILABLE << false << always + 1 + 1;
    QTest::newRow("change log") << 1 << Package::INSTALLED << true << always + 2 + 1;
    QTest::newRow("old versions") << 2 << Package::INSTALLED << false << always + 1 + 2;
}

void FocusLookTest::detail()
{
    QFETCH(int, page);
    QFETCH(Package::State, state);
    QFETCH(bool, update);
    QFETCH(int, stops);
    m_shown->offer(1, 2);
    QVERIFY(m_shown->open());
    m_shown->engine().package(1)->setUpdateAvailable(update);
    m_shown->engine().package(1)->setState(state);
    m_shown->openDetail(0);
    child<QTabWidget>(window(), "DetailTabs")->setCurrentIndex(page);
    // A picture that moves is none to compare with.
    const auto *banner = child<QLabel>(window(), "CarouselImage");
    QTRY_COMPARE(shownColor(*banner), QColor(Qt::red));
    check(window(), stops);
}

void FocusLookTest::settings_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("stops");
    QTest::newRow("general") << 0 << 4;
    QTest::newRow("paths") << 1 << 7;
    QTest::newRow("disk usage") << 2 << 3;
}

void FocusLookTest::settings()
{
    QFETCH(int, page);
    QFETCH(int, stops);
    QVERIFY(m_shown->open());
    SettingsDialog dialog(sharedController(m_shown->engine()), m_shown->engine().settings(),
                          &window());
    child<QTabWidget>(dialog, "SettingsTabs")->setCurrentIndex(page);
    dialog.show();
    dialog.activateWindow();
    QTRY_COMPARE(QApplication::activeWindow(), &dialog);
    check(dialog, stops);
}

void FocusLookTest::question()
{
    QVERIFY(m_shown->open());
    bool seen = false;
    QTimer::singleShot(0, this, [&seen] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        QTRY_COMPARE(QApplication::activeWindow(), box);
        check(*box, 2);
        seen = true;
        box->done(QMessageBox::NoButton);
    });
    Kavo::Dialogs::confirm(&window(), QMessageBox::Question, QStringLiteral("Title"),
                           QStringLiteral("Text"));
    QVERIFY(seen);
}

KAVO_TEST_MAIN(FocusLookTest)
#include "FocusLookTest.moc"
