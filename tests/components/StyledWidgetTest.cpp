#include "components/StyledWidget.h"
#include "components/ObjectNameStyle.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"

using Kavo::Components::restyle;
using Kavo::Components::StyledWidget;

class StyledWidgetTest final : public QObject
{
    Q_OBJECT

private slots:
    void styleSheetPaintsTheBackground();
    void newObjectNameBringsItsOwnStyle();
};

void StyledWidgetTest::styleSheetPaintsTheBackground()
{
    QWidget window;
    window.setStyleSheet(QStringLiteral("#Card { background: #ff0000; }"));
    StyledWidget widget(QStringLiteral("Card"), &window);
    widget.resize(20, 20);
    QCOMPARE(widget.objectName(), QStringLiteral("Card"));
    QCOMPARE(widget.grab().toImage().pixelColor(10, 10), QColor(255, 0, 0));
}

void StyledWidgetTest::newObjectNameBringsItsOwnStyle()
{
    QWidget window;
    window.setStyleSheet(QStringLiteral("#Download { color: #112233; } #Busy { color: #445566; }"));
    QPushButton button(&window);
    restyle(button, QStringLiteral("Download"));
    QCOMPARE(button.palette().color(QPalette::ButtonText), QColor(0x11, 0x22, 0x33));
    restyle(button, QStringLiteral("Busy"));
    QCOMPARE(button.objectName(), QStringLiteral("Busy"));
    QCOMPARE(button.palette().color(QPalette::ButtonText), QColor(0x44, 0x55, 0x66));
}

KAVO_TEST_MAIN(StyledWidgetTest)
#include "StyledWidgetTest.moc"
