#include "components/Buttons.h"
#include "components/Carousel.h"
#include "components/WindowControl.h"
#include "tests/components/Widgets.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QFontDatabase>

using namespace Kavo;
using namespace Kavo::Testing;
using Components::iconFont;

namespace {

constexpr int CloseGlyph = 0xf00d;

/// Fontconfig reads it when the application object is made.
const bool IsHidden = qputenv("FONTCONFIG_FILE", KAVO_FONTS_WITHOUT_ICONS);

/// Whether the button shows this text and has room for it.
bool shows(const QPushButton *button, const QString &text)
{
    return button && button->icon().isNull() && button->text() == text &&
           button->width() >= button->sizeHint().width() &&
           button->sizeHint().width() >= button->fontMetrics().horizontalAdvance(text);
}

} // namespace

/// A build without the icon font on a system that has none either.
class MissingIconFontTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void iconsAreNull();
    void iconButtonShowsItsName();
    void textButtonShowsItsTextAlone();
    void windowButtonsShowTheirNames();
    void carouselButtonsShowTheirNames();
    void installedFontIsTaken();
};

void MissingIconFontTest::initTestCase()
{
    QVERIFY(IsHidden);
    const LogCapture log;
    QVERIFY(!iconFont()->initFontAwesome());
    QCOMPARE(log.lines(), QStringList(QStringLiteral("Icon font cannot be loaded : "
                                                     ":/resources/font/FontAwesome.otf")));
}

void MissingIconFontTest::iconsAreNull()
{
    QVERIFY(iconFont()->icon(CloseGlyph).isNull());
    QVERIFY(iconFont()->icon(CloseGlyph, Components::darkIconOptions()).isNull());
}

void MissingIconFontTest::iconButtonShowsItsName()
{
    QWidget parent;
    QPushButton *button =
        Components::makeIconButton(QStringLiteral("TopButton"), QStringLiteral("Refresh"),
                                   iconFont()->icon(CloseGlyph), &parent);
    QCOMPARE(button->text(), QStringLiteral("Refresh"));
    QCOMPARE(button->accessibleName(), QStringLiteral("Refresh"));
}

void MissingIconFontTest::textButtonShowsItsTextAlone()
{
    QWidget parent;
    const QPushButton *button =
        Components::makeButton(QStringLiteral("Download"), QStringLiteral("Install"),
                               iconFont()->icon(CloseGlyph), &parent);
    QCOMPARE(button->text(), QStringLiteral("Install"));
    QVERIFY(button->icon().isNull());
}

void MissingIconFontTest::windowButtonsShowTheirNames()
{
    Components::WindowControl control;
    control.resize(control.sizeHint());
    control.show();
    auto *toggle = child<QPushButton>(control, "WindowMaximize");
    QVERIFY(shows(child<QPushButton>(control, "WindowMinimize"), QStringLiteral("Minimize")));
    QVERIFY(shows(child<QPushButton>(control, "WindowClose"), QStringLiteral("Close")));
    QVERIFY(shows(toggle, QStringLiteral("Maximize")));
    toggle->click();
    QCOMPARE(toggle->text(), QStringLiteral("Restore"));
    QCOMPARE(toggle->accessibleName(), QStringLiteral("Restore"));
}

void MissingIconFontTest::carouselButtonsShowTheirNames()
{
    Components::Carousel carousel({});
    carousel.setImages({QString(), QString()});
    carousel.resize(800, 400);
    carousel.show();
    for (const char *name : {"CarouselPrevious", "CarouselNext"}) {
        const auto *button = child<QPushButton>(carousel, name);
        QVERIFY2(button && !button->text().isEmpty() && shows(button, button->accessibleName()),
                 name);
    }
}

/// An application font stands for one that is installed.
void MissingIconFontTest::installedFontIsTaken()
{
    if (QByteArray(KAVO_FONT_ICONS).isEmpty())
        QSKIP("This build has no icon font that could be installed.");
    QVERIFY(QFontDatabase::addApplicationFont(QStringLiteral(KAVO_FONT_ICONS)) >= 0);
    QtAwesome font;
    QVERIFY(font.initFontAwesome());
    QCOMPARE(font.font(16).family(), QStringLiteral("FontAwesome"));
    QVERIFY(!font.icon(CloseGlyph).isNull());
}

KAVO_TEST_MAIN(MissingIconFontTest)
#include "MissingIconFontTest.moc"
