#include "tests/packages/GatedExtractor.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WindowTest.h"
#include "ui/window/ApplicationContainer.h"
#include "ui/window/PackageContainer.h"
#include "ui/window/TopBar.h"

#include <QLayout>
#include <QScreen>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using WindowState = Kavo::Controllers::ApplicationController::State;

Q_DECLARE_METATYPE(WindowState)

class ApplicationWindowTest final : public WindowTest
{
    Q_OBJECT

private slots:
    // Fixed, see docs/compatibility.md.
    void slotsHaveTheirOrder()
    {
        const QMetaObject &meta = ApplicationWindow::staticMetaObject;
        QList<QByteArray> names;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            names.append(meta.method(i).name());
        QCOMPARE(names, QList<QByteArray>({"onStyleChanged", "onLanguageChanged",
                                           "onGeometryChanged", "onStateChanged"}));
    }

    void windowIsCreated()
    {
        makeWindow();
        QCOMPARE(window().objectName(), "ApplicationWindow"_s);
        QCOMPARE(window().windowTitle(), "Kavo Suite"_s);
        QVERIFY(window().windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(!window().isVisible());
        QVERIFY(!qApp->styleSheet().isEmpty());
        const QScreen &screen = *QGuiApplication::primaryScreen();
        QCOMPARE(window().minimumSize(), QSize(960, 600).boundedTo(screen.availableSize()));
        const int x = screen.size().width() / 2 - 660;
        QCOMPARE(application().x(), x);
        QCOMPARE(window().geometry(), QRect(x, screen.size().height() / 2 - 400, 1320, 800));
        // The top bar is above the packages.
        auto *container = qobject_cast<ApplicationContainer *>(window().centralWidget());
        QVERIFY(container);
        QCOMPARE(container->objectName(), "ApplicationContainer"_s);
        QCOMPARE(container->layout()->count(), 2);
        QVERIFY(qobject_cast<TopBar *>(container->layout()->itemAt(0)->widget()));
        QVERIFY(qobject_cast<PackageContainer *>(container->layout()->itemAt(1)->widget()));
    }

    void windowFollowsTheGeometry()
    {
        makeWindow();
        application().setScreenSize(QSize(1920, 1080));
        QCOMPARE(window().geometry(), QRect(300, 140, 1320, 800));
        application().move(10, 20);
        QCOMPARE(window().geometry(), QRect(10, 20, 1320, 800));
        // A maximised window keeps its geometry.
        application().setState(WindowState::MAXIMIZED);
        const QRect before = window().geometry();
        application().setWidth(500);
        application().move(30, 40);
        QCOMPARE(window().geometry(), before);
    }

    void windowFollowsTheState_data() { allStates(); }
    void windowFollowsTheState()
    {
        const auto [state, windowState] = Rows<WindowState, Qt::WindowStates>::current();
        makeWindow();
        application().setState(state == WindowState::NORMAL ? WindowState::MAXIMIZED
                                                            : WindowState::NORMAL);
        application().setState(state);
        QCOMPARE(window().windowState(), windowState);
        // An invalid state is ignored.
        application().setState(static_cast<WindowState>(9));
        QCOMPARE(window().windowState(), windowState);
    }

    void stateFollowsTheWindowManager_data() { allStates(); }
    void stateFollowsTheWindowManager()
    {
        const auto [state, windowState] = Rows<WindowState, Qt::WindowStates>::current();
        makeWindow();
        window().show();
        window().setWindowState(state == WindowState::NORMAL ? Qt::WindowMaximized
                                                             : Qt::WindowNoState);
        window().setWindowState(windowState);
        QCOMPARE(application().state(), state);
        QCOMPARE(window().windowState(), windowState);
    }

    void minimisedWindowRestoresItsState_data() { states(); }
    void minimisedWindowRestoresItsState()
    {
        const auto [state, windowState] = Rows<WindowState, Qt::WindowStates>::current();
        makeWindow();
        window().show();
        application().setState(state);
        for (int round = 0; round < 2; ++round) {
            application().setState(WindowState::MINIMIZED);
            QCOMPARE(window().windowState(), Qt::WindowMinimized);
            // The task bar restores a window like this.
            window().setWindowState(Qt::WindowNoState);
            QCOMPARE(window().windowState(), windowState);
            QCOMPARE(application().state(), state);
        }
        // An earlier state has no effect any more.
        application().setState(WindowState::NORMAL);
        application().setState(WindowState::MINIMIZED);
        window().setWindowState(Qt::WindowNoState);
        QCOMPARE(window().windowState(), Qt::WindowNoState);
        QCOMPARE(application().state(), WindowState::NORMAL);
    }

    /// A window manager that minimises the window leaves it marked as maximised.
    void windowManagerRestoresTheWindow()
    {
        makeWindow();
        window().show();
        application().setState(WindowState::MAXIMIZED);
        const Qt::WindowStates both = Qt::WindowMaximized | Qt::WindowMinimized;
        window().setWindowState(both);
        QCOMPARE(application().state(), WindowState::MINIMIZED);
        QCOMPARE(window().windowState(), both);
        window().setWindowState(Qt::WindowMaximized);
        QCOMPARE(application().state(), WindowState::MAXIMIZED);
    }

    void controllerGetsTheSizeThatTheUserChose()
    {
        QVERIFY(openRestored());
        QTRY_VERIFY(!window().isMaximized());
        // The user drags an edge.
        const QSize chosen(500, 400);
        window().setMinimumSize(chosen);
        window().setGeometry(QRect(QPoint(40, 30), chosen));
        QTRY_COMPARE(application().height(), chosen.height());
        QCOMPARE(application().width(), chosen.width());
        QTRY_COMPARE(QPoint(application().x(), application().y()), QPoint(40, 30));
        // Moving the whole window afterwards keeps the size.
        application().move(50, 20);
        QTRY_COMPARE(window().geometry(), QRect(QPoint(50, 20), chosen));
        // The size of a maximised window is not stored, or the window would keep it when restored.
        application().setState(WindowState::MAXIMIZED);
        QTRY_VERIFY(window().height() > chosen.height());
        QCOMPARE(application().height(), chosen.height());
    }

    void doubleClickOnTheTopBarMaximises()
    {
        QVERIFY(openRestored());
        auto *bar = window().findChild<TopBar *>();
        const QPoint free(bar->width() - 4, 4);
        QTest::mouseDClick(bar, Qt::RightButton, {}, free);
        QCOMPARE(application().state(), WindowState::NORMAL);
        QTest::mouseDClick(bar, Qt::LeftButton, {}, free);
        QCOMPARE(application().state(), WindowState::MAXIMIZED);
        QTRY_VERIFY(window().isMaximized());
        QTest::mouseDClick(bar, Qt::LeftButton, {}, free);
        QCOMPARE(application().state(), WindowState::NORMAL);
    }

    void styleAppliesToTheApplication()
    {
        makeWindow();
        const QString style = "QWidget { color: red; }"_s;
        emit application().styleChanged(style);
        QCOMPARE(qApp->styleSheet(), style);
        emit application().languageChanged();
        QCOMPARE(qApp->styleSheet(), style);
    }

    void idleWindowCloses()
    {
        makeWindow();
        window().show();
        const MessageBoxAnswers answers;
        application().requestExit();
        QVERIFY(!window().isVisible());
    }

    // Fixed, see docs/compatibility.md.
    void windowStaysDuringAnInstallation()
    {
        const GatedExtractor gate(profile().folder("tools"_s));
        setExtractor(gate.program());
        engine().offer({1});
        makeWindow();
        QVERIFY(refresh());
        window().show();
        install(1);
        QTRY_VERIFY(controller().isBusy());

        MessageBoxAnswers answers;
        const QString text = "There is a installation in progress.\n\nTry closing the application "
                             "after the installation is completed"_s;
        answers.expect("Installation in progress"_s, text, QMessageBox::Ok);
        application().requestExit();
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().first().icon, QMessageBox::Warning);
        QCOMPARE(answers.shown().first().buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(answers.shown().first().parent, &window());
        QVERIFY(window().isVisible());
        // Each attempt to close the window shows the box once.
        answers.expect("Installation in progress"_s, text, QMessageBox::Ok);
        window().close();
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().size(), 2);
        QVERIFY(window().isVisible());

        gate.open();
        QVERIFY(waitUntilSettled(1));
        window().close();
        QVERIFY(!window().isVisible());
    }

private:
    static Rows<WindowState, Qt::WindowStates> states()
    {
        Rows<WindowState, Qt::WindowStates> rows;
        return rows.row("normal", WindowState::NORMAL, Qt::WindowNoState)
            .row("maximised", WindowState::MAXIMIZED, Qt::WindowMaximized)
            .row("full screen", WindowState::FULL_SCREEN, Qt::WindowFullScreen);
    }
    static void allStates()
    {
        states().row("minimised", WindowState::MINIMIZED, Qt::WindowMinimized);
    }
    bool openRestored()
    {
        makeWindow();
        window().show();
        const bool exposed = QTest::qWaitForWindowExposed(&window());
        application().setState(WindowState::NORMAL);
        return exposed;
    }
};

KAVO_TEST_MAIN(ApplicationWindowTest)
#include "ApplicationWindowTest.moc"
