#include "ui/window/ApplicationWindow.h"
#include "core/ApplicationController.h"
#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/Archives.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/window/ApplicationContainer.h"
#include "ui/window/PackageContainer.h"
#include "ui/window/TopBar.h"
#include "ui/window/TopbarController.h"

#include <QLayout>
#include <QScreen>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Controllers::ApplicationController;
using Kavo::Controllers::TopbarController;
using Kavo::Models::Package;

namespace {

const QString BusyTitle = QStringLiteral("Installation in progress");
const QString BusyText =
    QStringLiteral("There is a installation in progress.\n\nTry closing the application after the "
                   "installation is completed");

} // namespace

class ApplicationWindowTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup();

    void slotsStandInTheirOrder();
    void windowIsFramelessAndNamed();
    void topBarStandsAboveThePackages();
    void windowIsStyledAndCentred();
    void windowFollowsTheGeometry();
    void maximisedWindowKeepsItsGeometry();
    void windowFollowsTheState_data();
    void windowFollowsTheState();
    void windowComesBackAsItWasBeforeItWasMinimised_data();
    void windowComesBackAsItWasBeforeItWasMinimised();
    void stateFollowsTheWindowManager_data();
    void stateFollowsTheWindowManager();
    void windowManagerRestoresWhatItMinimised();
    void smallestSizeFitsTheScreen();
    void controllerLearnsTheSizeThatTheUserChose();
    void doubleClickOnTheTopBarMaximises();
    void styleAppliesToTheApplication();
    void windowClosesWhenNothingIsGoingOn();
    void windowStaysDuringAnInstallation();

private:
    void open();

    std::unique_ptr<Engine> m_engine;
    QSharedPointer<ApplicationController> m_application;
    std::unique_ptr<ApplicationWindow> m_window;
};

void ApplicationWindowTest::cleanup()
{
    m_window.reset();
    m_application.reset();
    m_engine.reset();
    qApp->setStyleSheet(QString());
}

void ApplicationWindowTest::open()
{
    m_engine->start();
    m_application = QSharedPointer<ApplicationController>::create();
    const auto packages = sharedController(*m_engine);
    const auto topbar =
        QSharedPointer<TopbarController>::create(m_engine->settings(), packages, m_application);
    m_window = std::make_unique<ApplicationWindow>(m_application, packages, topbar);
}

// Fixed, see docs/compatibility.md.
void ApplicationWindowTest::slotsStandInTheirOrder()
{
    const QMetaObject &meta = ApplicationWindow::staticMetaObject;
    QList<QByteArray> names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        names.append(meta.method(i).name());
    QCOMPARE(names, QList<QByteArray>({"onStyleChanged", "onLanguageChanged", "onGeometryChanged",
                                       "onStateChanged"}));
}

void ApplicationWindowTest::windowIsFramelessAndNamed()
{
    open();
    QCOMPARE(m_window->objectName(), QStringLiteral("ApplicationWindow"));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Kavo Suite"));
    QVERIFY(m_window->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(!m_window->isVisible());
}

void ApplicationWindowTest::topBarStandsAboveThePackages()
{
    open();
    auto *container = qobject_cast<ApplicationContainer *>(m_window->centralWidget());
    QVERIFY(container);
    QCOMPARE(container->objectName(), QStringLiteral("ApplicationContainer"));
    QCOMPARE(container->layout()->count(), 2);
    QVERIFY(qobject_cast<TopBar *>(container->layout()->itemAt(0)->widget()));
    QVERIFY(qobject_cast<PackageContainer *>(container->layout()->itemAt(1)->widget()));
}

void ApplicationWindowTest::windowIsStyledAndCentred()
{
    open();
    QVERIFY(!qApp->styleSheet().isEmpty());
    const QSize screen = QGuiApplication::primaryScreen()->size();
    QCOMPARE(m_application->x(), screen.width() / 2 - 660);
    QCOMPARE(m_window->geometry(),
             QRect(screen.width() / 2 - 660, screen.height() / 2 - 400, 1320, 800));
}

void ApplicationWindowTest::windowFollowsTheGeometry()
{
    open();
    m_application->setScreenSize(QSize(1920, 1080));
    QCOMPARE(m_window->geometry(), QRect(300, 140, 1320, 800));
    m_application->move(10, 20);
    QCOMPARE(m_window->geometry(), QRect(10, 20, 1320, 800));
}

void ApplicationWindowTest::maximisedWindowKeepsItsGeometry()
{
    open();
    m_application->setScreenSize(QSize(1920, 1080));
    m_application->setState(ApplicationController::MAXIMIZED);
    const QRect before = m_window->geometry();
    m_application->setWidth(500);
    m_application->move(10, 20);
    QCOMPARE(m_window->geometry(), before);
}

void ApplicationWindowTest::windowFollowsTheState_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("windowState");
    QTest::newRow("normal") << 0 << int(Qt::WindowNoState);
    QTest::newRow("maximised") << 1 << int(Qt::WindowMaximized);
    QTest::newRow("minimised") << 2 << int(Qt::WindowMinimized);
    QTest::newRow("full screen") << 3 << int(Qt::WindowFullScreen);
}

void ApplicationWindowTest::windowFollowsTheState()
{
    QFETCH(int, state);
    QFETCH(int, windowState);
    open();
    m_application->setState(state == 0 ? ApplicationController::MAXIMIZED
                                       : ApplicationController::NORMAL);
    m_application->setState(static_cast<ApplicationController::State>(state));
    QCOMPARE(int(m_window->windowState()), windowState);
    // A number that is no state is ignored.
    m_application->setState(static_cast<ApplicationController::State>(9));
    QCOMPARE(int(m_window->windowState()), windowState);
}

void ApplicationWindowTest::windowComesBackAsItWasBeforeItWasMinimised_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("windowState");
    QTest::newRow("normal") << int(ApplicationController::NORMAL) << int(Qt::WindowNoState);
    QTest::newRow("maximised") << int(ApplicationController::MAXIMIZED) << int(Qt::WindowMaximized);
    QTest::newRow("full screen") << int(ApplicationController::FULL_SCREEN)
                                 << int(Qt::WindowFullScreen);
}

void ApplicationWindowTest::windowComesBackAsItWasBeforeItWasMinimised()
{
    QFETCH(int, state);
    QFETCH(int, windowState);
    open();
    m_window->show();
    m_application->setState(static_cast<ApplicationController::State>(state));
    for (int round = 0; round < 2; ++round) {
        m_application->setState(ApplicationController::MINIMIZED);
        QCOMPARE(int(m_window->windowState()), int(Qt::WindowMinimized));
        // As the task bar does it.
        m_window->setWindowState(Qt::WindowNoState);
        QCOMPARE(int(m_window->windowState()), windowState);
        QCOMPARE(int(m_application->state()), state);
    }
    // What it was before is no reason to be it again.
    m_application->setState(ApplicationController::NORMAL);
    m_application->setState(ApplicationController::MINIMIZED);
    m_window->setWindowState(Qt::WindowNoState);
    QCOMPARE(int(m_window->windowState()), int(Qt::WindowNoState));
    QCOMPARE(m_application->state(), ApplicationController::NORMAL);
}

void ApplicationWindowTest::stateFollowsTheWindowManager_data()
{
    windowFollowsTheState_data();
}

void ApplicationWindowTest::stateFollowsTheWindowManager()
{
    QFETCH(int, state);
    QFETCH(int, windowState);
    open();
    m_window->show();
    m_window->setWindowState(state == 0 ? Qt::WindowMaximized : Qt::WindowNoState);
    m_window->setWindowState(static_cast<Qt::WindowState>(windowState));
    QCOMPARE(int(m_application->state()), state);
    QCOMPARE(int(m_window->windowState()), windowState);
}

/// Who minimises from outside leaves the window maximised beneath.
void ApplicationWindowTest::windowManagerRestoresWhatItMinimised()
{
    open();
    m_window->show();
    m_application->setState(ApplicationController::MAXIMIZED);
    m_window->setWindowState(Qt::WindowMaximized | Qt::WindowMinimized);
    QCOMPARE(m_application->state(), ApplicationController::MINIMIZED);
    QCOMPARE(int(m_window->windowState()), int(Qt::WindowMaximized | Qt::WindowMinimized));
    m_window->setWindowState(Qt::WindowMaximized);
    QCOMPARE(m_application->state(), ApplicationController::MAXIMIZED);
}

void ApplicationWindowTest::smallestSizeFitsTheScreen()
{
    open();
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    QCOMPARE(m_window->minimumSize(), QSize(960, 600).boundedTo(screen));
}

void ApplicationWindowTest::controllerLearnsTheSizeThatTheUserChose()
{
    open();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_application->setState(ApplicationController::NORMAL);
    QTRY_VERIFY(!m_window->isMaximized());
    // As when an edge is dragged.
    const QSize chosen(500, 400);
    m_window->setMinimumSize(chosen);
    m_window->setGeometry(QRect(QPoint(40, 30), chosen));
    QTRY_COMPARE(m_application->height(), chosen.height());
    QCOMPARE(m_application->width(), chosen.width());
    QTRY_COMPARE(QPoint(m_application->x(), m_application->y()), QPoint(40, 30));
    // The next drag of the whole window keeps the size.
    m_application->move(50, 20);
    QTRY_COMPARE(m_window->geometry(), QRect(QPoint(50, 20), chosen));
    // A maximised window tells nothing: it would be as large after it was restored.
    m_application->setState(ApplicationController::MAXIMIZED);
    QTRY_VERIFY(m_window->height() > chosen.height());
    QCOMPARE(m_application->height(), chosen.height());
}

void ApplicationWindowTest::doubleClickOnTheTopBarMaximises()
{
    open();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_application->setState(ApplicationController::NORMAL);
    auto *bar = m_window->findChild<TopBar *>();
    const QPoint free(bar->width() - 4, 4);
    QTest::mouseDClick(bar, Qt::RightButton, {}, free);
    QCOMPARE(m_application->state(), ApplicationController::NORMAL);
    QTest::mouseDClick(bar, Qt::LeftButton, {}, free);
    QCOMPARE(m_application->state(), ApplicationController::MAXIMIZED);
    QTRY_VERIFY(m_window->isMaximized());
    QTest::mouseDClick(bar, Qt::LeftButton, {}, free);
    QCOMPARE(m_application->state(), ApplicationController::NORMAL);
}

void ApplicationWindowTest::styleAppliesToTheApplication()
{
    open();
    const QString style = QStringLiteral("QWidget { color: red; }");
    emit m_application->styleChanged(style);
    QCOMPARE(qApp->styleSheet(), style);
    emit m_application->languageChanged();
    QCOMPARE(qApp->styleSheet(), style);
}

void ApplicationWindowTest::windowClosesWhenNothingIsGoingOn()
{
    open();
    m_window->show();
    const MessageBoxAnswers answers;
    m_application->requestExit();
    QVERIFY(!m_window->isVisible());
    QVERIFY(answers.shown().isEmpty());
}

// Fixed, see docs/compatibility.md.
void ApplicationWindowTest::windowStaysDuringAnInstallation()
{
    // An extractor that works until it is told to end.
    const QString folder = m_engine->profile().folder(QStringLiteral("extractor"));
    const QString go = folder + QStringLiteral("go");
    const QString program = folder + QStringLiteral("7z");
    QVERIFY(writeFile(program, "#!/bin/sh\nwhile [ ! -e \"${0%/*}/go\" ]; do sleep 0.02; done\n"
                               "exit 0\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    m_engine->setExtractor(program);
    m_engine->offer({1, QStringLiteral("1.0")});
    open();
    QVERIFY(m_engine->refresh());
    m_window->show();
    m_engine->install(1);
    QTRY_VERIFY(m_engine->controller().isBusy());

    MessageBoxAnswers answers;
    answers.expect(BusyTitle, BusyText, QMessageBox::Ok);
    m_application->requestExit();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Warning);
    QCOMPARE(answers.shown().first().buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(answers.shown().first().parent, m_window.get());
    QVERIFY(m_window->isVisible());
    // Once for every request.
    answers.expect(BusyTitle, BusyText, QMessageBox::Ok);
    m_window->close();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().size(), 2);
    QVERIFY(m_window->isVisible());

    QVERIFY(writeFile(go, "x"));
    QVERIFY(m_engine->waitUntilSettled(1));
    m_window->close();
    QVERIFY(!m_window->isVisible());
}

KAVO_TEST_MAIN(ApplicationWindowTest)
#include "ApplicationWindowTest.moc"
