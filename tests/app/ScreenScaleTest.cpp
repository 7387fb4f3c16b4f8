#include "app/ScreenScale.h"
#include "tests/support/ScratchProfile.h"

#include <QApplication>
#include <QScreen>
#include <QtTest>

using namespace Kavo::Testing;

class ScreenScaleTest final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void densityIsTakenAsFarAsTheWindowFits_data();
    void densityIsTakenAsFarAsTheWindowFits();
    void choiceOfTheUserIsKept_data();
    void choiceOfTheUserIsKept();
};

void ScreenScaleTest::cleanup()
{
    for (const char *name : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"})
        qunsetenv(name);
}

void ScreenScaleTest::densityIsTakenAsFarAsTheWindowFits_data()
{
    QTest::addColumn<int>("density");
    QTest::addColumn<QSize>("pixels");
    QTest::addColumn<int>("fitting");
    QTest::newRow("plain") << 96 << QSize(1920, 1080) << 96;
    QTest::newRow("texts a little larger") << 120 << QSize(1920, 1080) << 120;
    QTest::newRow("texts too large") << 121 << QSize(1920, 1080) << 120;
    QTest::newRow("between two scales") << 144 << QSize(3840, 2160) << 120;
    QTest::newRow("almost twice") << 191 << QSize(3840, 2160) << 120;
    QTest::newRow("dense and large") << 192 << QSize(3840, 2160) << 192;
    QTest::newRow("dense and small") << 192 << QSize(1920, 1080) << 120;
    QTest::newRow("too dense") << 288 << QSize(3840, 2160) << 240;
    QTest::newRow("just wide and high enough") << 192 << QSize(2640, 1600) << 192;
    QTest::newRow("not wide enough") << 192 << QSize(2639, 1600) << 120;
    QTest::newRow("not high enough") << 192 << QSize(2640, 1599) << 120;
    QTest::newRow("fits never") << 192 << QSize(1280, 720) << 120;
    QTest::newRow("not dense") << 72 << QSize(1920, 1080) << 72;
}

void ScreenScaleTest::densityIsTakenAsFarAsTheWindowFits()
{
    QFETCH(int, density);
    QFETCH(QSize, pixels);
    QTEST(Kavo::fittingDensity(density, pixels), "fitting");
}

void ScreenScaleTest::choiceOfTheUserIsKept_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<qreal>("scale");
    QTest::newRow("none") << QByteArray() << 1.0;
    QTest::newRow("scale") << QByteArray("QT_SCALE_FACTOR") << 2.5;
    QTest::newRow("scale of the screen") << QByteArray("QT_SCREEN_SCALE_FACTORS") << 2.5;
}

void ScreenScaleTest::choiceOfTheUserIsKept()
{
    QFETCH(QByteArray, variable);
    if (!variable.isEmpty())
        qputenv(variable.constData(), "2.5");
    QByteArray name("program");
    char *argv[] = {name.data(), nullptr};
    int argc = 1;
    const auto application = Kavo::makeScaledApplication(argc, argv);
    QTEST(QGuiApplication::primaryScreen()->devicePixelRatio(), "scale");
}

int main(int argc, char **argv)
{
    const ScratchProfile profile;
    ScreenScaleTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "ScreenScaleTest.moc"
