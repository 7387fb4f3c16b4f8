#include "components/iconfont/QtAwesome.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QPainter>

using namespace Kavo::Testing;

namespace {

constexpr int SquareGlyph = 0xf0c8;

/// The number of pixel rows that are not empty.
int inkedRows(const QImage &image)
{
    int rows = 0;
    for (int y = 0; y < image.height(); ++y) {
        bool inked = false;
        for (int x = 0; x < image.width(); ++x)
            inked = inked || image.pixelColor(x, y).alpha() > 0;
        rows += inked ? 1 : 0;
    }
    return rows;
}

} // namespace

class QtAwesomeTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        KAVO_NEEDS_ICON_FONT();
        QVERIFY(m_font.initFontAwesome());
        QVERIFY(m_font.initFontAwesome());
    }

    void fontComesFromTheResources() { QCOMPARE(m_font.font(16).family(), "FontAwesome"_s); }

    void fontHasTheSizeInPixels() { QCOMPARE(m_font.font(23).pixelSize(), 23); }

    void defaultOptionsColourAnIcon()
    {
        m_font.setDefaultOption("color"_s, QColor(Qt::red));
        QCOMPARE(ink(m_font.icon(SquareGlyph)), QColor(Qt::red));
    }

    void optionsOfAnIconComeBeforeTheDefaults()
    {
        m_font.setDefaultOption("color"_s, QColor(Qt::red));
        const QVariantMap options{{"color"_s, QColor(Qt::blue)}};
        QCOMPARE(ink(m_font.icon(SquareGlyph, options)), QColor(Qt::blue));
        QCOMPARE(ink(m_font.icon(SquareGlyph)), QColor(Qt::red));
    }

    void everyModeHasItsColour()
    {
        const QIcon icon = m_font.icon(SquareGlyph, {{"color"_s, QColor(Qt::red)},
                                                     {"color-disabled"_s, QColor(Qt::green)},
                                                     {"color-active"_s, QColor(Qt::blue)},
                                                     {"color-selected"_s, QColor(Qt::yellow)}});
        QCOMPARE(ink(icon, QIcon::Normal), QColor(Qt::red));
        QCOMPARE(ink(icon, QIcon::Disabled), QColor(Qt::green));
        QCOMPARE(ink(icon, QIcon::Active), QColor(Qt::blue));
        QCOMPARE(ink(icon, QIcon::Selected), QColor(Qt::yellow));
    }

    void modeWithoutColourHasTheNormalOne()
    {
        QtAwesome font;
        QVERIFY(font.initFontAwesome());
        const QIcon icon = font.icon(SquareGlyph, {{"color"_s, QColor(Qt::red)}});
        QCOMPARE(ink(icon, QIcon::Active), QColor(Qt::red));
        QCOMPARE(ink(icon, QIcon::Selected), QColor(Qt::red));
    }

    void scaleFactorSizesTheGlyph()
    {
        const QIcon large = m_font.icon(SquareGlyph, {{"scale-factor"_s, 1.0}});
        const QIcon small = m_font.icon(SquareGlyph, {{"scale-factor"_s, 0.5}});
        const int largeRows = inkedRows(imageOf(large));
        const int smallRows = inkedRows(imageOf(small));
        QVERIFY(qAbs(largeRows - 2 * smallRows) <= 3);
        QVERIFY(smallRows > 5);
    }

    void iconIsDrawnAtTheSizeAskedFor()
    {
        const QIcon icon = m_font.icon(SquareGlyph);
        const QImage large = icon.pixmap(QSize(256, 256)).toImage();
        QCOMPARE(large.size(), QSize(256, 256));
        const int smallRows = inkedRows(icon.pixmap(QSize(32, 32)).toImage());
        // The glyph fills the icon.
        QVERIFY(inkedRows(large) > 7 * smallRows);
    }

    void iconIsSharpOnADenseScreen()
    {
        QImage target(64, 64, QImage::Format_ARGB32_Premultiplied);
        target.setDevicePixelRatio(2);
        target.fill(Qt::transparent);
        QPainter painter(&target);
        m_font.icon(SquareGlyph, {{"color"_s, QColor(Qt::black)}})
            .paint(&painter, QRect(0, 0, 32, 32));
        painter.end();
        int halfInked = 0;
        for (int y = 0; y < target.height(); ++y) {
            const int alpha = target.pixelColor(32, y).alpha();
            halfInked += alpha > 0 && alpha < 255 ? 1 : 0;
        }
        QVERIFY(inkedRows(target) > 40);
        // An enlarged small picture would have soft edges, several pixels wide.
        QVERIFY(halfInked <= 4);
    }

    void differentCharactersDiffer()
    {
        QVERIFY(!sameIcon(m_font.icon(0xf053), m_font.icon(0xf054)));
        QVERIFY(sameIcon(m_font.icon(0xf053), m_font.icon(0xf053)));
    }

private:
    QtAwesome m_font;
};

KAVO_TEST_MAIN(QtAwesomeTest)
#include "QtAwesomeTest.moc"
