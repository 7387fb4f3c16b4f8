#include "ui/window/TopBar.h"
#include "components/WindowControl.h"
#include "core/ApplicationController.h"
#include "core/Settings.h"
#include "tests/components/QuitRequest.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/Archives.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/window/TopbarController.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QToolTip>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Components::WindowControl;
using Kavo::Controllers::ApplicationController;
using Kavo::Controllers::PackageController;
using Kavo::Controllers::TopbarController;
using Kavo::Ui::TopBar;

namespace {

const QString ResetText =
    QStringLiteral("This action will reset databases and application prefrences.\n\nContinue?");

/// Positions of the four icon buttons in the order of the bar.
enum IconButton : int { SEARCH, REFRESH, SETTINGS, RESET };

} // namespace

class TopBarTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init();
    void cleanup();

    void widgetsStandInTheirOrder();
    void buttonsHaveTheirLook();
    void onlyTheExactTextHidesTheSearch_data();
    void onlyTheExactTextHidesTheSearch();
    void localRepositoryIsTold_data();
    void localRepositoryIsTold();
    void searchAsksNobodyForPackages();
    void searchTakesOnlySoMuchText();
    void toolTipsNameTheKeys();
    void refreshLoadsTheCatalogue();
    void windowButtonsSetTheState();
    void closeButtonAsksToExit();

    void settingsAreCancelledWithoutARefresh();
    void acceptedSettingsRefresh();
    void changedLanguageQuitsWithoutARefresh();
    void refusedResetChangesNothing();
    void confirmedResetEmptiesAndQuits();
    void simulatorIsStarted();
    void missingSimulatorIsNoError();

    void barDragsTheWindow();
    void otherButtonsDoNotDrag();
    void releasedBarDragsNoMore();
    void pointerWithoutTheButtonDoesNotDrag();
    void maximisedWindowIsNotDragged();
    void restoringClickDoesNotDrag();

private:
    void open();
    QPushButton *iconButton(IconButton which) const
    {
        return allChildren<QPushButton>(*m_bar, "TopButton").at(which);
    }
    QPushButton *button(const char *name) const { return child<QPushButton>(*m_bar, name); }
    void set(Settings::Key key, const QString &value);
    void mouse(QEvent::Type type, const QPointF &position, Qt::MouseButton button);
    PackageController &packages() const { return m_engine->controller(); }
    bool databaseExists() const;

    std::unique_ptr<Engine> m_engine;
    QSharedPointer<ApplicationController> m_application;
    QSharedPointer<TopbarController> m_controller;
    std::unique_ptr<TopBar> m_bar;
};

void TopBarTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_engine->start();
    m_application = QSharedPointer<ApplicationController>::create();
    m_application->setScreenSize(QSize(1920, 1080));
    m_controller = QSharedPointer<TopbarController>::create(
        m_engine->settings(), sharedController(*m_engine), m_application);
}

void TopBarTest::cleanup()
{
    m_bar.reset();
    m_controller.reset();
    m_application.reset();
    m_engine.reset();
}

void TopBarTest::open()
{
    m_bar = std::make_unique<TopBar>(m_controller);
    m_bar->resize(1300, 75);
    m_bar->show();
}

void TopBarTest::set(Settings::Key key, const QString &value)
{
    m_engine->settings()->setPending(key, value);
    m_engine->settings()->apply();
}

void TopBarTest::mouse(QEvent::Type type, const QPointF &position, Qt::MouseButton button)
{
    const bool pressed = type != QEvent::MouseButtonRelease;
    const bool moves = type == QEvent::MouseMove;
    QMouseEvent event(type, position, m_bar->mapToGlobal(position.toPoint()),
                      moves ? Qt::NoButton : button, pressed ? button : Qt::NoButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(m_bar.get(), &event);
}

bool TopBarTest::databaseExists() const
{
    return QFile::exists(m_engine->profile().dataFolder() + QStringLiteral("packages.db"));
}

void TopBarTest::widgetsStandInTheirOrder()
{
    set(Settings::LOCAL_REPO, QStringLiteral("true"));
    open();
    QCOMPARE(m_bar->objectName(), QStringLiteral("TopBar"));
    QCOMPARE(m_bar->maximumHeight(), 75);
    QStringList order;
    const QLayout *layout = m_bar->findChild<QHBoxLayout *>(QString(), Qt::FindDirectChildrenOnly);
    for (int i = 0; i < layout->count(); ++i) {
        const QWidget *widget = layout->itemAt(i)->widget();
        order.append(widget ? widget->objectName() : QStringLiteral("-"));
    }
    QCOMPARE(
        order.join(QLatin1Char(' ')),
        QStringLiteral("- StoreLogo - RepoLabel - XPlaneButton SearchField TopButton TopButton "
                       "TopButton - TopButton - WindowControl"));
    const auto *logo = child<QLabel>(*m_bar, "StoreLogo");
    QCOMPARE(logo->maximumHeight(), 25);
    QCOMPARE(logo->pixmap()->height(), 25);
}

void TopBarTest::buttonsHaveTheirLook()
{
    KAVO_NEEDS_ICON_FONT();
    open();
    QCOMPARE(button("XPlaneButton")->text(), QStringLiteral("Run X-Plane"));
    QVERIFY(sameIcon(button("XPlaneButton")->icon(), lightGlyph(0xf072)));
    QCOMPARE(child<QLineEdit>(*m_bar, "SearchField")->placeholderText(),
             QStringLiteral("eg. Jetways"));
    const int glyphs[] = {0xf002, 0xf021, 0xf013, 0xf0e2};
    const QString toolTips[] = {QString(), QStringLiteral("Refresh"), QString(),
                                QStringLiteral("Reset")};
    for (const IconButton which : {SEARCH, REFRESH, SETTINGS, RESET}) {
        QVERIFY(sameIcon(iconButton(which)->icon(), lightGlyph(glyphs[which])));
        QCOMPARE(iconButton(which)->toolTip(), toolTips[which]);
        QCOMPARE(iconButton(which)->text(), QString());
        QVERIFY(!iconButton(which)->accessibleName().isEmpty());
    }
    for (const QPushButton *each : m_bar->findChildren<QPushButton *>())
        QVERIFY(hasHand(*each));
}

void TopBarTest::onlyTheExactTextHidesTheSearch_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<bool>("shown");
    QTest::newRow("false") << QStringLiteral("false") << false;
    QTest::newRow("capitals") << QStringLiteral("FALSE") << true;
    QTest::newRow("empty") << QString() << true;
    QTest::newRow("true") << QStringLiteral("true") << true;
    QTest::newRow("true in capitals") << QStringLiteral("TRUE") << true;
}

void TopBarTest::onlyTheExactTextHidesTheSearch()
{
    QFETCH(QString, setting);
    QFETCH(bool, shown);
    set(Settings::SHOW_FILTER, setting);
    open();
    QCOMPARE(child<QLineEdit>(*m_bar, "SearchField")->isVisible(), shown);
    QCOMPARE(iconButton(SEARCH)->isVisible(), shown);
    QVERIFY(iconButton(REFRESH)->isVisible());
}

void TopBarTest::localRepositoryIsTold_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<bool>("told");
    QTest::newRow("true") << QStringLiteral("true") << true;
    QTest::newRow("capitals") << QStringLiteral("TRUE") << true;
    QTest::newRow("false") << QStringLiteral("false") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("another word") << QStringLiteral("yes") << false;
}

void TopBarTest::localRepositoryIsTold()
{
    QFETCH(QString, setting);
    QFETCH(bool, told);
    set(Settings::LOCAL_REPO, setting);
    open();
    const auto *label = child<QLabel>(*m_bar, "RepoLabel");
    QCOMPARE(label != nullptr, told);
    if (told)
        QCOMPARE(label->text(), QStringLiteral("[Local Repository]"));
}

void TopBarTest::searchAsksNobodyForPackages()
{
    set(Settings::SHOW_FILTER, QStringLiteral("true"));
    open();
    QSignalSpy busy(&packages(), &PackageController::busy);
    QSignalSpy updated(&packages(), &PackageController::update);
    QSignalSpy listed(&packages(), &PackageController::list);
    QTest::keyClicks(child<QLineEdit>(*m_bar, "SearchField"), QStringLiteral("Jetways"));
    QTest::keyClick(child<QLineEdit>(*m_bar, "SearchField"), Qt::Key_Return);
    iconButton(SEARCH)->click();
    QCOMPARE(busy.count() + updated.count() + listed.count(), 0);
}

/// As when somebody pastes the wrong thing.
void TopBarTest::searchTakesOnlySoMuchText()
{
    set(Settings::SHOW_FILTER, QStringLiteral("true"));
    open();
    QSignalSpy searched(m_bar.get(), &TopBar::searched);
    child<QLineEdit>(*m_bar, "SearchField")->insert(QStringLiteral("word ").repeated(100000));
    QCOMPARE(searched.size(), 1);
    QVERIFY(searched.first().first().toString().size() <= 1000);
}

void TopBarTest::toolTipsNameTheKeys()
{
    open();
    const auto shownTip = [](QPushButton *button) {
        QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), button->mapToGlobal(QPoint(1, 1)));
        QCoreApplication::sendEvent(button, &event);
        const QString text = QToolTip::text();
        QToolTip::hideText();
        return text;
    };
    QCOMPARE(shownTip(iconButton(SEARCH)), QStringLiteral("Search (Ctrl+F)"));
    QCOMPARE(shownTip(iconButton(REFRESH)), QStringLiteral("Refresh (F5, Ctrl+R)"));
    QCOMPARE(shownTip(iconButton(SETTINGS)), QStringLiteral("Settings (Ctrl+,)"));
    QCOMPARE(shownTip(button("WindowClose")), QStringLiteral("Close (Ctrl+Q)"));
}

void TopBarTest::refreshLoadsTheCatalogue()
{
    open();
    QSignalSpy busy(&packages(), &PackageController::busy);
    iconButton(REFRESH)->click();
    QCOMPARE(busy.count(), 1);
}

void TopBarTest::windowButtonsSetTheState()
{
    open();
    button("WindowMinimize")->click();
    QCOMPARE(m_application->state(), ApplicationController::MINIMIZED);
    button("WindowMaximize")->click();
    QCOMPARE(m_application->state(), ApplicationController::MAXIMIZED);
    button("WindowMaximize")->click();
    QCOMPARE(m_application->state(), ApplicationController::NORMAL);
}

void TopBarTest::closeButtonAsksToExit()
{
    open();
    QSignalSpy asked(m_application.data(), &ApplicationController::exitRequest);
    button("WindowClose")->click();
    QCOMPARE(asked.count(), 1);
}

void TopBarTest::settingsAreCancelledWithoutARefresh()
{
    open();
    QSignalSpy busy(&packages(), &PackageController::busy);
    MessageBoxAnswers answers;
    answers.expectDialog(QStringLiteral("SettingsDialog"), [](QDialog &dialog) {
        child<QPushButton>(dialog, "SettingsCancel")->click();
    });
    iconButton(SETTINGS)->click();
    QVERIFY(answers.allShown());
    QCOMPARE(busy.count(), 0);
}

void TopBarTest::acceptedSettingsRefresh()
{
    open();
    QSignalSpy busy(&packages(), &PackageController::busy);
    MessageBoxAnswers answers;
    answers.expectDialog(QStringLiteral("SettingsDialog"), [](QDialog &dialog) {
        child<QPushButton>(dialog, "SettingsOk")->click();
    });
    iconButton(SETTINGS)->click();
    QVERIFY(answers.allShown());
    QCOMPARE(busy.count(), 1);
}

void TopBarTest::changedLanguageQuitsWithoutARefresh()
{
    QVERIFY(m_engine->refresh());
    open();
    QSignalSpy busy(&packages(), &PackageController::busy);
    MessageBoxAnswers answers;
    answers.expectDialog(QStringLiteral("SettingsDialog"), [this](QDialog &dialog) {
        m_engine->settings()->setPending(Settings::LANGUAGE, QStringLiteral("de"));
        child<QPushButton>(dialog, "SettingsOk")->click();
    });
    answers.expect(
        QString(),
        QStringLiteral("Language has been changed\n\nApplication restart neeeded. Continue ?"),
        QMessageBox::Yes);
    answers.expect(QString(),
                   QStringLiteral("Application will now close. Restart the application for new "
                                  "setting to take effect."),
                   QMessageBox::Ok);
    QVERIFY(quits([this] { iconButton(SETTINGS)->click(); }));
    QVERIFY(answers.allShown());
    QCOMPARE(busy.count(), 0);
    QVERIFY(!databaseExists());
}

// Fixed, see docs/compatibility.md.
void TopBarTest::refusedResetChangesNothing()
{
    QVERIFY(m_engine->refresh());
    open();
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Reset"), ResetText, QMessageBox::No);
    QVERIFY(!quits([this] { iconButton(RESET)->click(); }));
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(answers.shown().first().buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(answers.shown().first().parent, m_bar.get());
    QVERIFY(answers.shown().first().isDestroying);
    QVERIFY(databaseExists());
    QCOMPARE(m_engine->settings()->pending(Settings::LANGUAGE), QStringLiteral("en"));
}

void TopBarTest::confirmedResetEmptiesAndQuits()
{
    QVERIFY(m_engine->refresh());
    open();
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Reset"), ResetText, QMessageBox::Yes);
    QVERIFY(quits([this] { iconButton(RESET)->click(); }));
    QVERIFY(answers.allShown());
    QVERIFY(!databaseExists());
    QVERIFY(!QFile::exists(m_engine->profile().dataFolder() + QStringLiteral("download.db")));
    for (const Settings::Entry &entry : m_engine->settings()->pendingConfiguration())
        QCOMPARE(entry.value, QString());
    const QSettings file(m_engine->profile().settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.allKeys().size(), 7);
}

void TopBarTest::simulatorIsStarted()
{
    const QString folder = m_engine->profile().simulatorFolder();
    QFile program(folder + QStringLiteral("X-Plane-x86_64"));
    QVERIFY(program.open(QIODevice::WriteOnly | QIODevice::Truncate));
    program.write("#!/bin/sh\necho \"$# $PWD\" > out.part && mv out.part started.txt\n");
    program.close();
    QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    open();
    button("XPlaneButton")->click();
    const QString report = folder + QStringLiteral("started.txt");
    QTRY_VERIFY(QFile::exists(report));
    QCOMPARE(QString::fromUtf8(readFile(report)).trimmed(),
             QStringLiteral("0 ") + QDir(folder).canonicalPath());
}

// Fixed, see docs/compatibility.md.
void TopBarTest::missingSimulatorIsNoError()
{
    QVERIFY(QFile::remove(m_engine->simulator(QStringLiteral("X-Plane-x86_64"))));
    open();
    const MessageBoxAnswers answers;
    button("XPlaneButton")->click();
    QVERIFY(answers.shown().isEmpty());
}

void TopBarTest::barDragsTheWindow()
{
    open();
    QSignalSpy moved(m_application.data(), &ApplicationController::geometryChanged);
    mouse(QEvent::MouseButtonPress, QPointF(100.4, 10.6), Qt::LeftButton);
    mouse(QEvent::MouseMove, QPointF(130.4, 5.6), Qt::LeftButton);
    QCOMPARE(moved.count(), 1);
    QCOMPARE(m_application->x(), 330);
    QCOMPARE(m_application->y(), 135);
    // Never off the screen.
    mouse(QEvent::MouseMove, QPointF(-5000, 5000), Qt::LeftButton);
    QCOMPARE(m_application->x(), 0);
    QCOMPARE(m_application->y(), 280);
}

void TopBarTest::otherButtonsDoNotDrag()
{
    open();
    QSignalSpy moved(m_application.data(), &ApplicationController::geometryChanged);
    mouse(QEvent::MouseButtonPress, QPointF(100, 10), Qt::RightButton);
    mouse(QEvent::MouseMove, QPointF(130, 30), Qt::RightButton);
    mouse(QEvent::MouseMove, QPointF(140, 30), Qt::LeftButton);
    QCOMPARE(moved.count(), 0);
}

void TopBarTest::releasedBarDragsNoMore()
{
    open();
    mouse(QEvent::MouseButtonPress, QPointF(100, 10), Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, QPointF(100, 10), Qt::LeftButton);
    QSignalSpy moved(m_application.data(), &ApplicationController::geometryChanged);
    mouse(QEvent::MouseMove, QPointF(130, 30), Qt::LeftButton);
    QCOMPARE(moved.count(), 0);
}

/// A release that went elsewhere is never told.
void TopBarTest::pointerWithoutTheButtonDoesNotDrag()
{
    open();
    mouse(QEvent::MouseButtonPress, QPointF(100, 10), Qt::LeftButton);
    QSignalSpy moved(m_application.data(), &ApplicationController::geometryChanged);
    mouse(QEvent::MouseMove, QPointF(130, 30), Qt::NoButton);
    mouse(QEvent::MouseMove, QPointF(140, 30), Qt::RightButton);
    QCOMPARE(moved.count(), 0);
    mouse(QEvent::MouseMove, QPointF(130, 30), Qt::LeftButton);
    QCOMPARE(moved.count(), 1);
}

void TopBarTest::maximisedWindowIsNotDragged()
{
    open();
    m_application->setState(ApplicationController::MAXIMIZED);
    mouse(QEvent::MouseButtonPress, QPointF(100, 10), Qt::LeftButton);
    mouse(QEvent::MouseMove, QPointF(130, 30), Qt::LeftButton);
    QCOMPARE(m_application->x(), 300);
    QCOMPARE(m_application->y(), 140);
}

/// The release of the first click may have gone elsewhere.
void TopBarTest::restoringClickDoesNotDrag()
{
    open();
    m_bar->setWindowState(Qt::WindowMaximized);
    m_application->setState(ApplicationController::MAXIMIZED);
    mouse(QEvent::MouseButtonPress, QPointF(100, 10), Qt::LeftButton);
    mouse(QEvent::MouseButtonDblClick, QPointF(100, 10), Qt::LeftButton);
    QCOMPARE(m_application->state(), ApplicationController::NORMAL);
    const int x = m_application->x();
    const int y = m_application->y();
    mouse(QEvent::MouseMove, QPointF(130, 5), Qt::LeftButton);
    QCOMPARE(m_application->x(), x);
    QCOMPARE(m_application->y(), y);
}

KAVO_TEST_MAIN(TopBarTest)
#include "TopBarTest.moc"
