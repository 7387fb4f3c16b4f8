#include "components/StyledWidget.h"
#include "components/ObjectNameStyle.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using Kavo::Components::restyle;
using Kavo::Components::StyledWidget;

class StyledWidgetTest final : public QObject
{
    Q_OBJECT

private slots:
    void styleSheetPaintsTheBackground()
    {
        QWidget window;
        window.setStyleSheet("#Card { background: #ff0000; }"_s);
        StyledWidget widget("Card"_s, &window);
        widget.resize(20, 20);
        QCOMPARE(widget.objectName(), "Card"_s);
        QCOMPARE(widget.grab().toImage().pixelColor(10, 10), QColor(255, 0, 0));
    }

    void newObjectNameBringsItsOwnStyle()
    {
        QWidget window;
        window.setStyleSheet("#Download { color: #112233; } #Busy { color: #445566; }"_s);
        QPushButton button(&window);
        restyle(button, "Download"_s);
        QCOMPARE(button.palette().color(QPalette::ButtonText), QColor(0x11, 0x22, 0x33));
        restyle(button, "Busy"_s);
        QCOMPARE(button.objectName(), "Busy"_s);
        QCOMPARE(button.palette().color(QPalette::ButtonText), QColor(0x44, 0x55, 0x66));
    }
};

KAVO_TEST_MAIN(StyledWidgetTest)
#include "StyledWidgetTest.moc"
