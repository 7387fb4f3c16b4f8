#include "components/IconFont.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using Kavo::Components::darkIconOptions;
using Kavo::Components::iconFont;

namespace {

constexpr int SquareGlyph = 0xf0c8;

} // namespace

class IconFontTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { KAVO_NEEDS_ICON_FONT(); }

    void oneObjectServesTheProcess()
    {
        QVERIFY(iconFont());
        QCOMPARE(iconFont(), iconFont());
        QCOMPARE(iconFont()->parent(), qApp);
        QVERIFY(iconFont()->initFontAwesome());
    }

    void iconsAreWhite()
    {
        const QIcon icon = iconFont()->icon(SquareGlyph);
        QCOMPARE(ink(icon, QIcon::Normal), QColor(255, 255, 255, 255));
        QCOMPARE(ink(icon, QIcon::Active), QColor(255, 255, 255, 255));
        QCOMPARE(ink(icon, QIcon::Selected), QColor(255, 255, 255, 255));
    }

    void disabledIconsAreFaint()
    {
        QCOMPARE(ink(iconFont()->icon(SquareGlyph), QIcon::Disabled), QColor(255, 255, 255, 60));
    }

    void darkOptionsAreOpaqueBlack()
    {
        const QVariantMap options = darkIconOptions();
        QCOMPARE(options.keys(), QStringList({"color"_s, "color-active"_s, "color-disabled"_s,
                                              "color-selected"_s}));
        for (const QVariant &color : options)
            QCOMPARE(color.value<QColor>(), QColor(0, 0, 0, 255));
    }

    void darkIconsAreBlack()
    {
        const QIcon icon = iconFont()->icon(SquareGlyph, darkIconOptions());
        for (const QIcon::Mode mode :
             {QIcon::Normal, QIcon::Disabled, QIcon::Active, QIcon::Selected})
            QCOMPARE(ink(icon, mode), QColor(0, 0, 0, 255));
    }
};

KAVO_TEST_MAIN(IconFontTest)
#include "IconFontTest.moc"
