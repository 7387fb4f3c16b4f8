#include "components/iconfont/QtAwesome.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"

#include <QPainter>

using namespace Kavo::Testing;

namespace {

constexpr int SquareGlyph = 0xf0c8;

/// Colour of the glyph's ink: the square covers the middle.
QColor ink(const QIcon &icon, QIcon::Mode mode = QIcon::Normal)
{
    const QImage image = imageOf(icon, mode);
    return image.pixelColor(image.rect().center());
}

/// Rows of the image in which anything is drawn.
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
    void initTestCase();
    void fontComesFromTheResources();
    void fontHasTheSizeInPixels();
    void defaultOptionsColourAnIcon();
    void optionsOfAnIconComeBeforeTheDefaults();
    void everyModeHasItsColour();
    void modeWithoutColourHasThePlainOne();
    void scaleFactorSizesTheGlyph();
    void iconIsDrawnAtTheSizeAskedFor();
    void iconIsSharpOnADenseScreen();
    void differentCharactersDiffer();

private:
    QtAwesome m_font;
};

void QtAwesomeTest::initTestCase()
{
    KAVO_NEEDS_ICON_FONT();
    QVERIFY(m_font.initFontAwesome());
    // Asking twice is no failure.
    QVERIFY(m_font.initFontAwesome());
}

void QtAwesomeTest::fontComesFromTheResources()
{
    QCOMPARE(m_font.font(16).family(), QStringLiteral("FontAwesome"));
}

void QtAwesomeTest::fontHasTheSizeInPixels()
{
    QCOMPARE(m_font.font(23).pixelSize(), 23);
}

void QtAwesomeTest::defaultOptionsColourAnIcon()
{
    m_font.setDefaultOption(QStringLiteral("color"), QColor(Qt::red));
    QCOMPARE(ink(m_font.icon(SquareGlyph)), QColor(Qt::red));
}

void QtAwesomeTest::optionsOfAnIconComeBeforeTheDefaults()
{
    m_font.setDefaultOption(QStringLiteral("color"), QColor(Qt::red));
    const QVariantMap options{{QStringLiteral("color"), QColor(Qt::blue)}};
    QCOMPARE(ink(m_font.icon(SquareGlyph, options)), QColor(Qt::blue));
    QCOMPARE(ink(m_font.icon(SquareGlyph)), QColor(Qt::red));
}

void QtAwesomeTest::everyModeHasItsColour()
{
    const QIcon icon =
        m_font.icon(SquareGlyph, {{QStringLiteral("color"), QColor(Qt::red)},
                                  {QStringLiteral("color-disabled"), QColor(Qt::green)},
                                  {QStringLiteral("color-active"), QColor(Qt::blue)},
                                  {QStringLiteral("color-selected"), QColor(Qt::yellow)}});
    QCOMPARE(ink(icon, QIcon::Normal), QColor(Qt::red));
    QCOMPARE(ink(icon, QIcon::Disabled), QColor(Qt::green));
    QCOMPARE(ink(icon, QIcon::Active), QColor(Qt::blue));
    QCOMPARE(ink(icon, QIcon::Selected), QColor(Qt::yellow));
}

void QtAwesomeTest::modeWithoutColourHasThePlainOne()
{
    QtAwesome font;
    QVERIFY(font.initFontAwesome());
    const QIcon icon = font.icon(SquareGlyph, {{QStringLiteral("color"), QColor(Qt::red)}});
    QCOMPARE(ink(icon, QIcon::Active), QColor(Qt::red));
    QCOMPARE(ink(icon, QIcon::Selected), QColor(Qt::red));
}

void QtAwesomeTest::scaleFactorSizesTheGlyph()
{
    const QIcon large = m_font.icon(SquareGlyph, {{QStringLiteral("scale-factor"), 1.0}});
    const QIcon small = m_font.icon(SquareGlyph, {{QStringLiteral("scale-factor"), 0.5}});
    const int largeRows = inkedRows(imageOf(large));
    const int smallRows = inkedRows(imageOf(small));
    QVERIFY(qAbs(largeRows - 2 * smallRows) <= 3);
    QVERIFY(smallRows > 5);
}

void QtAwesomeTest::iconIsDrawnAtTheSizeAskedFor()
{
    const QIcon icon = m_font.icon(SquareGlyph);
    const QImage large = icon.pixmap(QSize(256, 256)).toImage();
    QCOMPARE(large.size(), QSize(256, 256));
    const int smallRows = inkedRows(icon.pixmap(QSize(32, 32)).toImage());
    // Eight times as large, and not a small one in the middle.
    QVERIFY(inkedRows(large) > 7 * smallRows);
}

void QtAwesomeTest::iconIsSharpOnADenseScreen()
{
    QImage target(64, 64, QImage::Format_ARGB32_Premultiplied);
    target.setDevicePixelRatio(2);
    target.fill(Qt::transparent);
    QPainter painter(&target);
    m_font.icon(SquareGlyph, {{QStringLiteral("color"), QColor(Qt::black)}})
        .paint(&painter, QRect(0, 0, 32, 32));
    painter.end();
    int halfInked = 0;
    for (int y = 0; y < target.height(); ++y) {
        const int alpha = target.pixelColor(32, y).alpha();
        halfInked += alpha > 0 && alpha < 255 ? 1 : 0;
    }
    QVERIFY(inkedRows(target) > 40);
    // An enlarged small picture would have soft edges of several pixels.
    QVERIFY(halfInked <= 4);
}

void QtAwesomeTest::differentCharactersDiffer()
{
    QVERIFY(!sameIcon(m_font.icon(0xf053), m_font.icon(0xf054)));
    QVERIFY(sameIcon(m_font.icon(0xf053), m_font.icon(0xf053)));
}

KAVO_TEST_MAIN(QtAwesomeTest)
#include "QtAwesomeTest.moc"
