#include "components/WindowControl.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QSignalSpy>

using namespace Kavo::Testing;
using Kavo::Components::WindowControl;

namespace {

constexpr int MinimizeGlyph = 0xf2d1;
constexpr int MaximizeGlyph = 0xf2d0;
constexpr int RestoreGlyph = 0xf2d2;
constexpr int CloseGlyph = 0xf00d;

QPushButton *toggleOf(const WindowControl &control)
{
    return child<QPushButton>(control, "WindowMaximize");
}

} // namespace

class WindowControlTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }

    // Fixed, see docs/compatibility.md.
    void signalsStandInTheirOrder()
    {
        const QMetaObject &meta = WindowControl::staticMetaObject;
        QList<QByteArray> names;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            names.append(meta.method(i).name());
        QCOMPARE(names, QList<QByteArray>({"minimize", "maximize", "restore", "close"}));
    }

    void buttonsHaveTheirLook()
    {
        const WindowControl control;
        QCOMPARE(control.objectName(), "WindowControl"_s);
        const auto buttons = control.findChildren<QPushButton *>();
        const QVector<int> glyphs{MinimizeGlyph, MaximizeGlyph, CloseGlyph};
        QCOMPARE(buttons.size(), glyphs.size());
        for (int i = 0; i < buttons.size(); ++i) {
            QCOMPARE(buttons.at(i)->minimumWidth(), 32);
            QCOMPARE(buttons.at(i)->maximumWidth(), 32);
            QVERIFY(hasHand(*buttons.at(i)));
            QVERIFY(sameIcon(buttons.at(i)->icon(), darkGlyph(glyphs.at(i))));
            QVERIFY(!buttons.at(i)->accessibleName().isEmpty());
        }
    }

    void minimizeAndCloseAreAnnounced()
    {
        const WindowControl control;
        QSignalSpy minimized(&control, &WindowControl::minimize);
        QSignalSpy closed(&control, &WindowControl::close);
        child<QPushButton>(control, "WindowMinimize")->click();
        QCOMPARE(minimized.count(), 1);
        QCOMPARE(closed.count(), 0);
        child<QPushButton>(control, "WindowClose")->click();
        QCOMPARE(closed.count(), 1);
    }

    void middleButtonMaximizesAndRestores()
    {
        const WindowControl control;
        QSignalSpy maximized(&control, &WindowControl::maximize);
        QSignalSpy restored(&control, &WindowControl::restore);
        toggleOf(control)->click();
        QCOMPARE(maximized.count(), 1);
        QCOMPARE(restored.count(), 0);
        QVERIFY(sameIcon(toggleOf(control)->icon(), darkGlyph(RestoreGlyph)));
        toggleOf(control)->click();
        QCOMPARE(maximized.count(), 1);
        QCOMPARE(restored.count(), 1);
        QVERIFY(sameIcon(toggleOf(control)->icon(), darkGlyph(MaximizeGlyph)));
    }

    // Fixed, see docs/compatibility.md.
    void twoInstancesShareTheToggle()
    {
        const WindowControl first;
        const WindowControl second;
        QSignalSpy maximized(&second, &WindowControl::maximize);
        QSignalSpy restored(&second, &WindowControl::restore);
        toggleOf(first)->click();
        toggleOf(second)->click();
        QCOMPARE(restored.count(), 1);
        QCOMPARE(maximized.count(), 0);
    }
};

KAVO_TEST_MAIN(WindowControlTest)
#include "WindowControlTest.moc"
