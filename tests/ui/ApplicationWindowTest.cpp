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
    void slotsStandInTheirOrder()
    {
        const QMetaObject &meta = ApplicationWindow::staticMetaObject;
        QList<QByteArray> names;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            names.append(meta.method(i).name());
        QCOMPARE(names, QList<QByteArray>({"onStyleChanged", "onLanguageChanged",
                                           "onGeometryChanged", "onStateChanged"}));
    }

    void windowIsMade()
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
        // The top bar stands above the packages.
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
        // But not while it is maximised.
        application().setState(WindowState::MAXIMIZED);
        const QRect before = window().geometry();
        application().setWidth(500);
        application().move(30, 40);
        QCOMPARE(window().geometry(), before);
    }

    void windowFollowsTheState_data() { states(); }
    void windowFollowsTheState()
    {
        QFETCH(WindowState, state);
        makeWindow();
        application().setState(state == WindowState::NORMAL ? WindowState::MAXIMIZED
                                                            : WindowState::NORMAL);
        application().setState(state);
        QTEST(window().windowState(), "windowState");
        // A number that is no state is ignored.
        application().setState(static_cast<WindowState>(9));
        QTEST(window().windowState(), "windowState");
    }

    void stateFollowsTheWindowManager_data() { states(); }
    void stateFollowsTheWindowManager()
    {
        QFETCH(WindowState, state);
        QFETCH(Qt::WindowStates, windowState);
        makeWindow();
        window().show();
        window().setWindowState(state == WindowState::NORMAL ? Qt::WindowMaximized
                                                             : Qt::WindowNoState);
        window().setWindowState(windowState);
        QCOMPARE(application().state(), state);
        QCOMPARE(window().windowState(), windowState);
    }

    void windowComesBackAsItWasBeforeItWasMinimised_data() { states(false); }
    void windowComesBackAsItWasBeforeItWasMinimised()
    {
        QFETCH(WindowState, state);
        makeWindow();
        window().show();
        application().setState(state);
        for (int round = 0; round < 2; ++round) {
            application().setState(WindowState::MINIMIZED);
            QCOMPARE(window().windowState(), Qt::WindowMinimized);
            // As the task bar does it.
            window().setWindowState(Qt::WindowNoState);
            QTEST(window().windowState(), "windowState");
            QCOMPARE(application().state(), state);
        }
        // What it was before is no reason to be it again.
        application().setState(WindowState::NORMAL);
        application().setState(WindowState::MINIMIZED);
        window().setWindowState(Qt::WindowNoState);
        QCOMPARE(window().windowState(), Qt::WindowNoState);
        QCOMPARE(application().state(), WindowState::NORMAL);
    }

    /// Who minimises from outside leaves the window maximised beneath.
    void windowManagerRestoresWhatItMinimised()
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

    void controllerLearnsTheSizeThatTheUserChose()
    {
        QVERIFY(openRestored());
        QTRY_VERIFY(!window().isMaximized());
        // As when an edge is dragged.
        const QSize chosen(500, 400);
        window().setMinimumSize(chosen);
        window().setGeometry(QRect(QPoint(40, 30), chosen));
        QTRY_COMPARE(application().height(), chosen.height());
        QCOMPARE(application().width(), chosen.width());
        QTRY_COMPARE(QPoint(application().x(), application().y()), QPoint(40, 30));
        // The next drag of the whole window keeps the size.
        application().move(50, 20);
        QTRY_COMPARE(window().geometry(), QRect(QPoint(50, 20), chosen));
        // A maximised window tells nothing: it would be as large after it was restored.
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

    void windowClosesWhenNothingIsGoingOn()
    {
        makeWindow();
        window().show();
        const MessageBoxAnswers answers;
        application().requestExit();
        QVERIFY(!window().isVisible());
        QVERIFY(answers.shown().isEmpty());
    }

    // Fixed, see docs/compatibility.md.
    void windowStaysDuringAnInstallation()
    {
        const GatedExtractor gate(engine().profile().folder("tools"_s));
        engine().setExtractor(gate.program());
        engine().offer({1});
        makeWindow();
        QVERIFY(engine().refresh());
        window().show();
        engine().install(1);
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
        // Once for every request.
        answers.expect("Installation in progress"_s, text, QMessageBox::Ok);
        window().close();
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().size(), 2);
        QVERIFY(window().isVisible());

        gate.open();
        QVERIFY(engine().waitUntilSettled(1));
        window().close();
        QVERIFY(!window().isVisible());
    }

private:
    static void states(bool withMinimised = true)
    {
        table<WindowState, Qt::WindowStates>(
            {"state", "windowState"},
            {{"normal", WindowState::NORMAL, Qt::WindowNoState},
             {"maximised", WindowState::MAXIMIZED, Qt::WindowMaximized},
             {"full screen", WindowState::FULL_SCREEN, Qt::WindowFullScreen}});
        if (withMinimised)
            QTest::newRow("minimised")
                << WindowState::MINIMIZED << Qt::WindowStates(Qt::WindowMinimized);
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
