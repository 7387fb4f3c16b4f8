#include "components/LoadingAnimation.h"
#include "components/Picture.h"
#include "core/ApplicationController.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/TestMain.h"
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
    return QImage(QStringLiteral(":/resources/img/") + name);
}

} // namespace

/// Everything that is drawn has as many pixels as the screen has. Run at several scale factors.
class CrispnessTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void pictureHasThePixelsOfTheScreen_data();
    void pictureHasThePixelsOfTheScreen();
    void nullPictureStaysNull();
    void logoIsDrawnForTheScreen();
    void animationIsDrawnForTheScreen();
    void glyphIsDrawnForTheScreen();
    void everyPictureHasADenseTwin();

private:
    qreal m_ratio = 0;
};

void CrispnessTest::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    Kavo::Components::iconFont()->initFontAwesome();
    // The application's own ratio is a whole number on some platforms.
    m_ratio = QWidget().devicePixelRatioF();
    const QByteArray wanted = qgetenv("QT_SCALE_FACTOR");
    QCOMPARE(m_ratio, wanted.isEmpty() ? 1.0 : wanted.toDouble());
}

void CrispnessTest::pictureHasThePixelsOfTheScreen_data()
{
    QTest::addColumn<qreal>("ratio");
    QTest::addColumn<int>("pixels");
    QTest::newRow("1") << 1.0 << 25;
    QTest::newRow("1.5") << 1.5 << 38;
    QTest::newRow("2") << 2.0 << 50;
}

void CrispnessTest::pictureHasThePixelsOfTheScreen()
{
    QFETCH(qreal, ratio);
    QFETCH(int, pixels);
    QPixmap original(400, 200);
    original.fill(Qt::red);
    const QPixmap scaled = scaledToHeight(original, 25, ratio);
    QCOMPARE(scaled.height(), pixels);
    QCOMPARE(scaled.width(), 2 * pixels);
    QCOMPARE(scaled.devicePixelRatioF(), ratio);
}

void CrispnessTest::nullPictureStaysNull()
{
    QVERIFY(scaledToHeight(QPixmap(), 25, 2.0).isNull());
}

void CrispnessTest::logoIsDrawnForTheScreen()
{
    Engine engine;
    engine.start();
    const auto controller =
        QSharedPointer<TopbarController>::create(engine.settings(), sharedController(engine),
                                                 QSharedPointer<ApplicationController>::create());
    const TopBar bar(controller);
    const QPixmap *logo = child<QLabel>(bar, "StoreLogo")->pixmap();
    QCOMPARE(logo->height(), qRound(25 * m_ratio));
    QCOMPARE(logo->devicePixelRatioF(), m_ratio);
    // It is scaled down, never up.
    QVERIFY(resource(QStringLiteral("store.png")).height() >= logo->height());
}

void CrispnessTest::animationIsDrawnForTheScreen()
{
    QLabel label;
    LoadingAnimation::play(label, QSize(24, 24));
    const QPixmap frame = label.movie()->currentPixmap();
    QVERIFY(frame.height() >= 24 * m_ratio);
    QCOMPARE(frame.size() / frame.devicePixelRatioF(), QSize(24, 24));
    QCOMPARE(label.sizeHint(), QSize(24, 24));
}

void CrispnessTest::glyphIsDrawnForTheScreen()
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

/// What is shown in its own size has a second file with twice the pixels.
void CrispnessTest::everyPictureHasADenseTwin()
{
    int pairs = 0;
    QDirIterator entries(QStringLiteral(":/resources/img"));
    while (entries.hasNext()) {
        const QFileInfo file(entries.next());
        // These two are large and scaled down where they are shown.
        const bool scaled =
            file.baseName() == QLatin1String("store") || file.baseName() == QLatin1String("icon");
        if (scaled || file.baseName().endsWith(QLatin1String("@2x")))
            continue;
        const QString twin = file.path() + QLatin1Char('/') + file.baseName() +
                             QLatin1String("@2x.") + file.suffix();
        QCOMPARE(QImageReader(twin).size(), QImageReader(file.filePath()).size() * 2);
        ++pairs;
    }
    QVERIFY(pairs >= 9);
}

KAVO_TEST_MAIN(CrispnessTest)
#include "CrispnessTest.moc"
