#include "core/ApplicationController.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using Kavo::Controllers::ApplicationController;

class ApplicationControllerTest final : public QObject
{
    Q_OBJECT

private slots:
    void startsNormalAtTheFixedSize();
    void stateNumbersAreFixed();
    void signalsComeInTheirOrder();
    void screenCentresTheWindow_data();
    void screenCentresTheWindow();
    void screenLoadsTheStyleFirst();
    void styleIsReadWhole();
    void edgesStayOnTheScreen_data();
    void edgesStayOnTheScreen();
    void edgesAreStoredSilently();
    void everyMoveIsAnnounced();
    void maximisedWindowsDoNotMove();
    void otherStatesMove();
    void everyStateIsAnnounced();
    void sizesAreStoredSilently();
    void exitIsAsked();
};

void ApplicationControllerTest::startsNormalAtTheFixedSize()
{
    const ApplicationController controller;
    QCOMPARE(controller.width(), 1320);
    QCOMPARE(controller.height(), 800);
    QCOMPARE(controller.x(), 0);
    QCOMPARE(controller.y(), 0);
    QCOMPARE(controller.state(), ApplicationController::NORMAL);
    QCOMPARE(controller.parent(), nullptr);
}

// Fixed, see docs/compatibility.md.
void ApplicationControllerTest::stateNumbersAreFixed()
{
    QCOMPARE(int(ApplicationController::NORMAL), 0);
    QCOMPARE(int(ApplicationController::MAXIMIZED), 1);
    QCOMPARE(int(ApplicationController::MINIMIZED), 2);
    QCOMPARE(int(ApplicationController::FULL_SCREEN), 3);
}

// Fixed, see docs/compatibility.md.
void ApplicationControllerTest::signalsComeInTheirOrder()
{
    const QMetaObject &meta = ApplicationController::staticMetaObject;
    QStringList names;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        names.append(QString::fromLatin1(meta.method(index).methodSignature()));
    QCOMPARE(names, QStringList({"styleChanged(QString)"_s, "languageChanged()"_s,
                                 "geometryChanged()"_s, "stateChanged()"_s, "exitRequest()"_s}));
}

void ApplicationControllerTest::screenCentresTheWindow_data()
{
    Rows<QSize, QPoint>()
        .row("full HD", QSize(1920, 1080), QPoint(300, 140))
        .row("same size", QSize(1320, 800), QPoint(0, 0))
        .row("smaller", QSize(1024, 600), QPoint(-148, -100))
        .row("odd", QSize(1921, 1081), QPoint(300, 140))
        .row("odd and smaller", QSize(1319, 799), QPoint(-1, -1));
}

void ApplicationControllerTest::screenCentresTheWindow()
{
    const auto [screen, position] = Rows<QSize, QPoint>::current();
    ApplicationController controller;
    QSignalSpy geometry(&controller, &ApplicationController::geometryChanged);
    controller.setScreenSize(screen);
    QCOMPARE(QPoint(controller.x(), controller.y()), position);
    QCOMPARE(geometry.count(), 1);
}

void ApplicationControllerTest::screenLoadsTheStyleFirst()
{
    ApplicationController controller;
    QStringList order;
    connect(&controller, &ApplicationController::styleChanged, this,
            [&order] { order.append("style"_s); });
    connect(&controller, &ApplicationController::geometryChanged, this,
            [&order] { order.append("geometry"_s); });
    controller.setScreenSize(QSize(1920, 1080));
    QCOMPARE(order, QStringList({"style"_s, "geometry"_s}));
}

void ApplicationControllerTest::styleIsReadWhole()
{
    ApplicationController controller;
    QSignalSpy style(&controller, &ApplicationController::styleChanged);
    controller.loadStyle();
    QCOMPARE(style.count(), 1);
    QCOMPARE(style.first().first().toString(),
             "/* F\u00fcr den Test: \u2708 */\nQLabel { color: red; }\n"_s);
}

void ApplicationControllerTest::edgesStayOnTheScreen_data()
{
    const QSize large(1920, 1080);
    Rows<QSize, QPoint, QPoint>()
        .row("inside", large, QPoint(10, 20), QPoint(10, 20))
        .row("negative", large, QPoint(-1, -500), QPoint(0, 0))
        .row("far edge", large, QPoint(600, 280), QPoint(600, 280))
        .row("beyond", large, QPoint(601, 5000), QPoint(600, 280))
        .row("screen too small", QSize(1024, 600), QPoint(-5, -5), QPoint(0, 0));
}

void ApplicationControllerTest::edgesStayOnTheScreen()
{
    const auto [screen, asked, position] = Rows<QSize, QPoint, QPoint>::current();
    ApplicationController controller;
    controller.setScreenSize(screen);
    controller.move(asked.x(), asked.y());
    QCOMPARE(QPoint(controller.x(), controller.y()), position);
}

void ApplicationControllerTest::edgesAreStoredSilently()
{
    ApplicationController controller;
    controller.setScreenSize(QSize(1920, 1080));
    QSignalSpy geometry(&controller, &ApplicationController::geometryChanged);
    controller.setX(7);
    controller.setY(9);
    QCOMPARE(QPoint(controller.x(), controller.y()), QPoint(7, 9));
    QCOMPARE(geometry.count(), 0);
}

void ApplicationControllerTest::everyMoveIsAnnounced()
{
    ApplicationController controller;
    controller.setScreenSize(QSize(1920, 1080));
    QSignalSpy geometry(&controller, &ApplicationController::geometryChanged);
    controller.move(300, 140);
    controller.move(300, 140);
    QCOMPARE(geometry.count(), 2);
}

void ApplicationControllerTest::maximisedWindowsDoNotMove()
{
    ApplicationController controller;
    controller.setScreenSize(QSize(1920, 1080));
    controller.setState(ApplicationController::MAXIMIZED);
    QSignalSpy geometry(&controller, &ApplicationController::geometryChanged);
    controller.move(1, 2);
    QCOMPARE(QPoint(controller.x(), controller.y()), QPoint(300, 140));
    QCOMPARE(geometry.count(), 1);
}

void ApplicationControllerTest::otherStatesMove()
{
    for (const auto state : {ApplicationController::NORMAL, ApplicationController::MINIMIZED,
                             ApplicationController::FULL_SCREEN}) {
        ApplicationController controller;
        controller.setScreenSize(QSize(1920, 1080));
        controller.setState(state);
        controller.move(1, 2);
        QCOMPARE(QPoint(controller.x(), controller.y()), QPoint(1, 2));
    }
}

// Fixed, see docs/compatibility.md.
void ApplicationControllerTest::everyStateIsAnnounced()
{
    ApplicationController controller;
    QSignalSpy states(&controller, &ApplicationController::stateChanged);
    controller.setState(ApplicationController::NORMAL);
    controller.setState(ApplicationController::NORMAL);
    QCOMPARE(states.count(), 2);
    controller.setState(ApplicationController::FULL_SCREEN);
    QCOMPARE(controller.state(), ApplicationController::FULL_SCREEN);
    QCOMPARE(states.count(), 3);
}

void ApplicationControllerTest::sizesAreStoredSilently()
{
    ApplicationController controller;
    QSignalSpy geometry(&controller, &ApplicationController::geometryChanged);
    controller.setWidth(1000);
    controller.setHeight(500);
    QCOMPARE(geometry.count(), 0);
    controller.setScreenSize(QSize(1100, 700));
    QCOMPARE(QPoint(controller.x(), controller.y()), QPoint(50, 100));
    controller.move(200, 300);
    QCOMPARE(QPoint(controller.x(), controller.y()), QPoint(100, 200));
}

void ApplicationControllerTest::exitIsAsked()
{
    ApplicationController controller;
    QSignalSpy exit(&controller, &ApplicationController::exitRequest);
    controller.requestExit();
    QCOMPARE(exit.count(), 1);
}

KAVO_TEST_MAIN(ApplicationControllerTest)
#include "ApplicationControllerTest.moc"
