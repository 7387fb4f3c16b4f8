#include "core/ApplicationController.h"
#include "tests/support/TestMain.h"

using Kavo::Controllers::ApplicationController;

class MissingStyleTest final : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsAnnounced();
};

void MissingStyleTest::nothingIsAnnounced()
{
    ApplicationController controller;
    QSignalSpy style(&controller, &ApplicationController::styleChanged);
    QSignalSpy geometry(&controller, &ApplicationController::geometryChanged);
    controller.loadStyle();
    controller.setScreenSize(QSize(1920, 1080));
    QCOMPARE(style.count(), 0);
    QCOMPARE(geometry.count(), 1);
}

KAVO_TEST_MAIN(MissingStyleTest)
#include "MissingStyleTest.moc"
