#include "components/LoadingAnimation.h"
#include "components/Picture.h"
#include "core/ApplicationController.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"
#include "ui/window/TopBar.h"
#include "ui/window/TopbarController.h"

#include <QDirIterator>
#include <QImageReader>
#include <QMovie>

using namespace Kavo::Testing;
using Kavo::Components::LoadingAnimation;
using Kavo::Components::scaledToHeight;
using Kavo::Controllers::ApplicationController;
using Kavo::Controllers::TopbarController;
using Kavo::Ui::TopBar;

namespace {

QImage resource(const QString &name)
{
    return QImage(":/resources/img/"_s + name);
}

} // namespace

/// Tests that pictures have the resolution of the screen. The test runs at several scale factors.
class CrispnessTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
        WidgetTest::initTestCase();
        // On some platforms the ratio of the application is rounded.
        m_ratio = QWidget().devicePixelRatioF();
        const QByteArray wanted = qgetenv("QT_SCALE_FACTOR");
        QCOMPARE(m_ratio, wanted.isEmpty() ? 1.0 : wanted.toDouble());
    }

    void pictureHasThePixelsOfTheScreen_data()
    {
        Rows<qreal, int>().row("1", 1.0, 25).row("1.5", 1.5, 38).row("2", 2.0, 50);
    }

    void pictureHasThePixelsOfTheScreen()
    {
        const auto [ratio, pixels] = Rows<qreal, int>::current();
        QPixmap original(400, 200);
        original.fill(Qt::red);
        const QPixmap scaled = scaledToHeight(original, 25, ratio);
        QCOMPARE(scaled.height(), pixels);
        QCOMPARE(scaled.width(), 2 * pixels);
        QCOMPARE(scaled.devicePixelRatioF(), ratio);
    }

    void nullPictureStaysNull() { QVERIFY(scaledToHeight(QPixmap(), 25, 2.0).isNull()); }

    void logoIsDrawnForTheScreen()
    {
        start();
        const auto controller = QSharedPointer<TopbarController>::create(
            settings(), shared(), QSharedPointer<ApplicationController>::create());
        const TopBar bar(controller);
        const QPixmap *logo = child<QLabel>(bar, "StoreLogo")->pixmap();
        QCOMPARE(logo->height(), qRound(25 * m_ratio));
        QCOMPARE(logo->devicePixelRatioF(), m_ratio);
        // It is scaled down, never up.
        QVERIFY(resource("store.png"_s).height() >= logo->height());
    }

    void animationIsDrawnForTheScreen()
    {
        QLabel label;
        LoadingAnimation::play(label, QSize(24, 24));
        const QPixmap frame = label.movie()->currentPixmap();
        QVERIFY(frame.height() >= 24 * m_ratio);
        QCOMPARE(frame.size() / frame.devicePixelRatioF(), QSize(24, 24));
        QCOMPARE(label.sizeHint(), QSize(24, 24));
    }

    void glyphIsDrawnForTheScreen()
    {
        QPushButton button;
        button.setIcon(Kavo::Components::iconFont()->icon(0xf0ed));
        button.setIconSize(QSize(16, 16));
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        const QPixmap glyph = button.icon().pixmap(button.windowHandle(), button.iconSize());
        QCOMPARE(glyph.size(), QSize(qRound(16 * m_ratio), qRound(16 * m_ratio)));
        QCOMPARE(glyph.devicePixelRatioF(), m_ratio);
    }

    /// A picture that is not scaled has a second file with twice the size.
    void everyPictureHasADenseTwin()
    {
        int pairs = 0;
        QDirIterator entries(":/resources/img"_s);
        while (entries.hasNext()) {
            const QFileInfo file(entries.next());
            // These two pictures are large and always scaled down.
            const bool scaled = file.baseName() == "store"_s || file.baseName() == "icon"_s;
            if (scaled || file.baseName().endsWith("@2x"_s))
                continue;
            const QString twin =
                file.path() + QLatin1Char('/') + file.baseName() + "@2x."_s + file.suffix();
            QCOMPARE(QImageReader(twin).size(), QImageReader(file.filePath()).size() * 2);
            ++pairs;
        }
        QVERIFY(pairs >= 9);
    }

private:
    qreal m_ratio = 0;
};

KAVO_TEST_MAIN(CrispnessTest)
#include "CrispnessTest.moc"
