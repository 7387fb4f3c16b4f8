#include "app/ScreenScale.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"

#include <QApplication>
#include <QScreen>
#include <QtTest>

using namespace Kavo::Testing;

class ScreenScaleTest final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        for (const char *name : {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS"})
            qunsetenv(name);
    }

    void densityIsLimitedByTheWindow_data()
    {
        Rows<int, QSize, int>()
            .row("plain", 96, QSize(1920, 1080), 96)
            .row("texts a little larger", 120, QSize(1920, 1080), 120)
            .row("texts too large", 121, QSize(1920, 1080), 120)
            .row("between two scales", 144, QSize(3840, 2160), 120)
            .row("almost twice", 191, QSize(3840, 2160), 120)
            .row("dense and large", 192, QSize(3840, 2160), 192)
            .row("dense and small", 192, QSize(1920, 1080), 120)
            .row("too dense", 288, QSize(3840, 2160), 240)
            .row("just wide and high enough", 192, QSize(2640, 1600), 192)
            .row("not wide enough", 192, QSize(2639, 1600), 120)
            .row("not high enough", 192, QSize(2640, 1599), 120)
            .row("never fits", 192, QSize(1280, 720), 120)
            .row("not dense", 72, QSize(1920, 1080), 72);
    }

    void densityIsLimitedByTheWindow()
    {
        const auto [density, pixels, fitting] = Rows<int, QSize, int>::current();
        QCOMPARE(Kavo::fittingDensity(density, pixels), fitting);
    }

    void choiceOfTheUserIsKept_data()
    {
        Rows<QByteArray, qreal>()
            .row("none", "", 1.0)
            .row("scale", "QT_SCALE_FACTOR", 2.5)
            .row("scale of the screen", "QT_SCREEN_SCALE_FACTORS", 2.5);
    }

    void choiceOfTheUserIsKept()
    {
        const auto [variable, scale] = Rows<QByteArray, qreal>::current();
        if (!variable.isEmpty())
            qputenv(variable.constData(), "2.5");
        QByteArray name("program");
        char *argv[] = {name.data(), nullptr};
        int argc = 1;
        const auto application = Kavo::makeScaledApplication(argc, argv);
        QCOMPARE(QGuiApplication::primaryScreen()->devicePixelRatio(), scale);
    }
};

int main(int argc, char **argv)
{
    const ScratchProfile profile;
    ScreenScaleTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "ScreenScaleTest.moc"
