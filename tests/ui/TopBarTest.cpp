#include "ui/window/TopBar.h"
#include "components/WindowControl.h"
#include "core/ApplicationController.h"
#include "tests/components/QuitRequest.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"
#include "ui/window/TopbarController.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QToolTip>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Controllers::ApplicationController;
using Kavo::Controllers::PackageController;
using Kavo::Controllers::TopbarController;
using Kavo::Ui::TopBar;

namespace {

const QString ResetText =
    "This action will reset databases and application prefrences.\n\nContinue?"_s;

/// Positions of the four icon buttons in the order of the bar.
enum IconButton : int { SEARCH, REFRESH, SETTINGS, RESET };

/// The tool tip of a button.
QString shownTip(QPushButton *button)
{
    QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), button->mapToGlobal(QPoint(1, 1)));
    QCoreApplication::sendEvent(button, &event);
    const QString text = QToolTip::text();
    QToolTip::hideText();
    return text;
}

} // namespace

class TopBarTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void widgetsHaveTheirOrder()
    {
        set(Settings::LOCAL_REPO, "true"_s);
        open();
        QCOMPARE(m_bar->objectName(), "TopBar"_s);
        QCOMPARE(m_bar->maximumHeight(), 75);
        QStringList order;
        const QLayout *layout = m_bar->findChild<QHBoxLayout *>({}, Qt::FindDirectChildrenOnly);
        for (int i = 0; i < layout->count(); ++i) {
            const QWidget *widget = layout->itemAt(i)->widget();
            order.append(widget ? widget->objectName() : "-"_s);
        }
        QCOMPARE(order.join(QLatin1Char(' ')),
                 "- StoreLogo - RepoLabel - XPlaneButton SearchField TopButton TopButton "
                 "TopButton - TopButton - WindowControl"_s);
        const auto *logo = child<QLabel>(*m_bar, "StoreLogo");
        QCOMPARE(logo->maximumHeight(), 25);
        QCOMPARE(logo->pixmap()->height(), 25);
    }

    void buttonsHaveTheirProperties()
    {
        KAVO_NEEDS_ICON_FONT();
        open();
        QCOMPARE(button("XPlaneButton")->text(), "Run X-Plane"_s);
        QVERIFY(sameIcon(button("XPlaneButton")->icon(), lightGlyph(0xf072)));
        QCOMPARE(field().placeholderText(), "eg. Jetways"_s);
        const int glyphs[] = {0xf002, 0xf021, 0xf013, 0xf0e2};
        const QString toolTips[] = {{}, "Refresh"_s, {}, "Reset"_s};
        for (const IconButton which : {SEARCH, REFRESH, SETTINGS, RESET}) {
            QVERIFY(sameIcon(iconButton(which)->icon(), lightGlyph(glyphs[which])));
            QCOMPARE(iconButton(which)->toolTip(), toolTips[which]);
            QCOMPARE(iconButton(which)->text(), QString());
            QVERIFY(!iconButton(which)->accessibleName().isEmpty());
        }
        for (const QPushButton *each : m_bar->findChildren<QPushButton *>())
            QVERIFY(hasHand(*each));
    }

    void toolTipsNameTheKeys()
    {
        open();
        QCOMPARE(shownTip(iconButton(SEARCH)), "Search (Ctrl+F)"_s);
        QCOMPARE(shownTip(iconButton(REFRESH)), "Refresh (F5, Ctrl+R)"_s);
        QCOMPARE(shownTip(iconButton(SETTINGS)), "Settings (Ctrl+,)"_s);
        QCOMPARE(shownTip(button("WindowClose")), "Close (Ctrl+Q)"_s);
    }

    void settingHidesTheSearch()
    {
        for (const QString &setting : {"false"_s, "true"_s}) {
            set(Settings::SHOW_FILTER, setting);
            open();
            QCOMPARE(field().isVisible(), setting != "false"_s);
            QCOMPARE(iconButton(SEARCH)->isVisible(), setting != "false"_s);
            QVERIFY(iconButton(REFRESH)->isVisible());
        }
    }

    void localRepositoryIsShown()
    {
        open();
        QCOMPARE(textOf(*m_bar, "RepoLabel"), "(no such label)"_s);
        set(Settings::LOCAL_REPO, "true"_s);
        open();
        QCOMPARE(textOf(*m_bar, "RepoLabel"), "[Local Repository]"_s);
    }

    void searchDoesNotLoadPackages()
    {
        set(Settings::SHOW_FILTER, "true"_s);
        open();
        QSignalSpy busy(&controller(), &PackageController::busy);
        QSignalSpy updated(&controller(), &PackageController::update);
        QSignalSpy listed(&controller(), &PackageController::list);
        QTest::keyClicks(&field(), "Jetways"_s);
        QTest::keyClick(&field(), Qt::Key_Return);
        iconButton(SEARCH)->click();
        QVERIFY(busy.isEmpty() && updated.isEmpty() && listed.isEmpty());
    }

    /// A user may paste a long text by mistake.
    void searchTextIsLimited()
    {
        set(Settings::SHOW_FILTER, "true"_s);
        open();
        QSignalSpy searched(m_bar.get(), &TopBar::searched);
        field().insert("word "_s.repeated(100000));
        QCOMPARE(searched.size(), 1);
        QVERIFY(searched.first().first().toString().size() <= 1000);
    }

    void windowButtonsActOnTheWindow()
    {
        open();
        button("WindowMinimize")->click();
        QCOMPARE(m_application->state(), ApplicationController::MINIMIZED);
        button("WindowMaximize")->click();
        QCOMPARE(m_application->state(), ApplicationController::MAXIMIZED);
        button("WindowMaximize")->click();
        QCOMPARE(m_application->state(), ApplicationController::NORMAL);
        QSignalSpy asked(m_application.data(), &ApplicationController::exitRequest);
        button("WindowClose")->click();
        QCOMPARE(asked.count(), 1);
    }

    void acceptedSettingsRefresh_data()
    {
        Rows<QByteArray, int>()
            .row("cancelled", "SettingsCancel", 0)
            .row("accepted", "SettingsOk", 1);
    }

    void acceptedSettingsRefresh()
    {
        const auto [button, refreshes] = Rows<QByteArray, int>::current();
        open();
        QSignalSpy busy(&controller(), &PackageController::busy);
        MessageBoxAnswers answers;
        answers.expectDialog("SettingsDialog"_s, [button = button](QDialog &dialog) {
            child<QPushButton>(dialog, button.constData())->click();
        });
        iconButton(SETTINGS)->click();
        QCOMPARE(busy.count(), refreshes);
    }

    void changedLanguageQuitsWithoutARefresh()
    {
        QVERIFY(refresh());
        open();
        QSignalSpy busy(&controller(), &PackageController::busy);
        MessageBoxAnswers answers;
        answers.expectDialog("SettingsDialog"_s, [this](QDialog &dialog) {
            settings()->setPending(Settings::LANGUAGE, "de"_s);
            child<QPushButton>(dialog, "SettingsOk")->click();
        });
        answers.expect({}, "Language has been changed\n\nApplication restart neeeded. Continue ?"_s,
                       QMessageBox::Yes);
        answers.expect({},
                       "Application will now close. Restart the application for new "
                       "setting to take effect."_s,
                       QMessageBox::Ok);
        QVERIFY(quits([this] { iconButton(SETTINGS)->click(); }));
        QCOMPARE(busy.count(), 0);
        QVERIFY(!exists("packages.db"));
    }

    // Fixed, see docs/compatibility.md.
    void refusedResetChangesNothing()
    {
        QVERIFY(refresh());
        open();
        MessageBoxAnswers answers;
        answers.expect("Reset"_s, ResetText, QMessageBox::No);
        QVERIFY(!quits([this] { iconButton(RESET)->click(); }));
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
        QCOMPARE(answers.shown().first().buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(answers.shown().first().parent, m_bar.get());
        QVERIFY(answers.shown().first().isDestroying);
        QVERIFY(exists("packages.db"));
        QCOMPARE(settings()->pending(Settings::LANGUAGE), "en"_s);
    }

    void confirmedResetEmptiesAndQuits()
    {
        QVERIFY(refresh());
        open();
        MessageBoxAnswers answers;
        answers.expect("Reset"_s, ResetText, QMessageBox::Yes);
        QVERIFY(quits([this] { iconButton(RESET)->click(); }));
        QVERIFY(!exists("packages.db"));
        QVERIFY(!exists("download.db"));
        for (const Settings::Entry &entry : settings()->pendingConfiguration())
            QCOMPARE(entry.value, QString());
        const QSettings file(profile().settingsFile(), QSettings::IniFormat);
        QCOMPARE(file.allKeys().size(), int(settings()->pendingConfiguration().size()));
    }

    void buttonStartsTheSimulator()
    {
        const QString folder = profile().simulatorFolder();
        // The file is executable already.
        QVERIFY(writeFile(folder + "X-Plane-x86_64"_s,
                          "#!/bin/sh\necho \"$# $PWD\" > out.part && mv out.part started.txt\n"));
        open();
        button("XPlaneButton")->click();
        QTRY_VERIFY(QFile::exists(folder + "started.txt"_s));
        QCOMPARE(QString::fromUtf8(readFile(folder + "started.txt"_s)).trimmed(),
                 "0 "_s + QDir(folder).canonicalPath());
    }

    // Fixed, see docs/compatibility.md.
    void missingSimulatorIsNoError()
    {
        QVERIFY(QFile::remove(simulator("X-Plane-x86_64"_s)));
        open();
        const MessageBoxAnswers answers;
        button("XPlaneButton")->click();
    }

    void barDragsTheWindow()
    {
        open();
        QSignalSpy moved(m_application.data(), &ApplicationController::geometryChanged);
        press(QPointF(100.4, 10.6));
        move(QPointF(130.4, 5.6));
        QCOMPARE(moved.count(), 1);
        QCOMPARE(place(), QPoint(330, 135));
        // The window stays on the screen.
        move(QPointF(-5000, 5000));
        QCOMPARE(place(), QPoint(0, 280));
    }

    void onlyTheHeldLeftButtonDrags()
    {
        open();
        press(QPointF(100, 10), Qt::RightButton);
        move(QPointF(130, 30), Qt::RightButton);
        move(QPointF(140, 30));
        QCOMPARE(place(), Centre);
        press(QPointF(100, 10));
        mouse(QEvent::MouseButtonRelease, QPointF(100, 10), Qt::LeftButton);
        move(QPointF(130, 30));
        QCOMPARE(place(), Centre);
        // The bar may miss the release of the button.
        press(QPointF(100, 10));
        move(QPointF(130, 30), Qt::NoButton);
        move(QPointF(140, 30), Qt::RightButton);
        QCOMPARE(place(), Centre);
        move(QPointF(130, 30));
        QCOMPARE(place(), Centre + QPoint(30, 20));
        // A maximised window stays in its place.
        m_application->setState(ApplicationController::MAXIMIZED);
        press(QPointF(100, 10));
        move(QPointF(130, 30));
        QCOMPARE(place(), Centre + QPoint(30, 20));
    }

    /// The bar may miss the release of the first click.
    void restoringClickDoesNotDrag()
    {
        open();
        m_bar->setWindowState(Qt::WindowMaximized);
        m_application->setState(ApplicationController::MAXIMIZED);
        press(QPointF(100, 10));
        mouse(QEvent::MouseButtonDblClick, QPointF(100, 10), Qt::LeftButton);
        QCOMPARE(m_application->state(), ApplicationController::NORMAL);
        const QPoint before = place();
        move(QPointF(130, 5));
        QCOMPARE(place(), before);
    }

private:
    /// The position of a centred window of 1320 by 800 pixels.
    static constexpr QPoint Centre{300, 140};

    void setUp() override
    {
        start();
        m_application = QSharedPointer<ApplicationController>::create();
        m_application->setScreenSize(QSize(1920, 1080));
        m_controller =
            QSharedPointer<TopbarController>::create(settings(), shared(), m_application);
    }
    void tearDown() override
    {
        m_bar.reset();
        m_controller.reset();
        m_application.reset();
    }
    void open()
    {
        m_bar = std::make_unique<TopBar>(m_controller);
        m_bar->resize(1300, 75);
        m_bar->show();
    }
    QPushButton *iconButton(IconButton which) const
    {
        return allChildren<QPushButton>(*m_bar, "TopButton").at(which);
    }
    QPushButton *button(const char *name) const { return child<QPushButton>(*m_bar, name); }
    QLineEdit &field() const { return *child<QLineEdit>(*m_bar, "SearchField"); }
    bool exists(const char *database)
    {
        return QFile::exists(profile().dataFolder() + QString::fromLatin1(database));
    }

    void mouse(QEvent::Type type, const QPointF &position, Qt::MouseButton button)
    {
        const bool pressed = type != QEvent::MouseButtonRelease;
        const bool moves = type == QEvent::MouseMove;
        QMouseEvent event(type, position, m_bar->mapToGlobal(position.toPoint()),
                          moves ? Qt::NoButton : button, pressed ? button : Qt::NoButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(m_bar.get(), &event);
    }
    void press(const QPointF &position, Qt::MouseButton button = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonPress, position, button);
    }
    void move(const QPointF &position, Qt::MouseButton button = Qt::LeftButton)
    {
        mouse(QEvent::MouseMove, position, button);
    }
    /// The position of the window.
    QPoint place() const { return {m_application->x(), m_application->y()}; }

    QSharedPointer<ApplicationController> m_application;
    QSharedPointer<TopbarController> m_controller;
    std::unique_ptr<TopBar> m_bar;
};

KAVO_TEST_MAIN(TopBarTest)
#include "TopBarTest.moc"
