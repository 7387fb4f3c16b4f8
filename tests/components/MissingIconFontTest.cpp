#include "components/Buttons.h"
#include "components/Carousel.h"
#include "components/WindowControl.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QFontDatabase>

using namespace Kavo;
using namespace Kavo::Testing;
using Components::iconFont;

namespace {

constexpr int CloseGlyph = 0xf00d;

/// Set during static initialisation, because Fontconfig reads the variable when the application
/// object is created.
const bool IsHidden = qputenv("FONTCONFIG_FILE", KAVO_FONTS_WITHOUT_ICONS);

/// Whether the button shows this text without an icon and is wide enough for it.
bool shows(const QPushButton *button, const QString &text)
{
    return button && button->icon().isNull() && button->text() == text &&
           button->width() >= button->sizeHint().width() &&
           button->sizeHint().width() >= button->fontMetrics().horizontalAdvance(text);
}

} // namespace

/// Tests a build without the icon font on a system without it.
class MissingIconFontTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(IsHidden);
        const LogCapture log;
        QVERIFY(!iconFont()->initFontAwesome());
        QCOMPARE(log.lines(), QStringList("Icon font cannot be loaded : "
                                          ":/resources/font/FontAwesome.otf"_s));
    }

    void iconsAreNull()
    {
        QVERIFY(iconFont()->icon(CloseGlyph).isNull());
        QVERIFY(iconFont()->icon(CloseGlyph, Components::darkIconOptions()).isNull());
    }

    void iconButtonShowsItsName()
    {
        QWidget parent;
        QPushButton *button = Components::makeIconButton("TopButton"_s, "Refresh"_s,
                                                         iconFont()->icon(CloseGlyph), &parent);
        QCOMPARE(button->text(), "Refresh"_s);
        QCOMPARE(button->accessibleName(), "Refresh"_s);
    }

    void textButtonShowsItsTextAlone()
    {
        QWidget parent;
        const QPushButton *button = Components::makeButton("Download"_s, "Install"_s,
                                                           iconFont()->icon(CloseGlyph), &parent);
        QCOMPARE(button->text(), "Install"_s);
        QVERIFY(button->icon().isNull());
    }

    void windowButtonsShowTheirNames()
    {
        Components::WindowControl control;
        control.resize(control.sizeHint());
        control.show();
        auto *toggle = child<QPushButton>(control, "WindowMaximize");
        QVERIFY(shows(child<QPushButton>(control, "WindowMinimize"), "Minimize"_s));
        QVERIFY(shows(child<QPushButton>(control, "WindowClose"), "Close"_s));
        QVERIFY(shows(toggle, "Maximize"_s));
        toggle->click();
        QCOMPARE(toggle->text(), "Restore"_s);
        QCOMPARE(toggle->accessibleName(), "Restore"_s);
    }

    void carouselButtonsShowTheirNames()
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

    /// An application font takes the place of an installed font.
    void installedFontIsTaken()
    {
        if (QByteArray(KAVO_FONT_ICONS).isEmpty())
            QSKIP("This build has no icon font that could be installed.");
        QVERIFY(QFontDatabase::addApplicationFont(QStringLiteral(KAVO_FONT_ICONS)) >= 0);
        QtAwesome font;
        QVERIFY(font.initFontAwesome());
        QCOMPARE(font.font(16).family(), "FontAwesome"_s);
        QVERIFY(!font.icon(CloseGlyph).isNull());
    }
};

KAVO_TEST_MAIN(MissingIconFontTest)
#include "MissingIconFontTest.moc"
