#include "app/ScreenScale.h"

#include "app/ActivationToken.h"
#include "core/ApplicationController.h"

#include <QApplication>
#include <QFile>
#include <QScreen>

#include <algorithm>
#include <vector>

#include <unistd.h>

namespace Kavo {

namespace {

constexpr const char *Density = "QT_FONT_DPI";
/// Set if the density was not chosen by the user.
constexpr const char *Limited = "KAVO_DENSITY_IS_LIMITED";
constexpr qreal PlainDensity = 96;
/// The largest enlargement of texts. With more, the names on the cards are cut off.
constexpr qreal LargestText = 1.25;

bool isChosenByUser()
{
    return qEnvironmentVariableIsSet("QT_SCALE_FACTOR") ||
           qEnvironmentVariableIsSet("QT_SCREEN_SCALE_FACTORS") ||
           qEnvironmentVariableIsSet(Density);
}

/// The dots per inch before Qt derives a scale from them.
int densityOf(const QScreen &screen)
{
    return qRound(screen.logicalDotsPerInch() * screen.devicePixelRatio());
}

void chooseScaling()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // Many screens report 96.1 or 100 dots per inch, and nothing would be crisp.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::Floor);
}

/// Whether the program may choose another density than the screen's. On Wayland only the compositor
/// can.
bool mayLimitDensity()
{
    return !isChosenByUser() &&
           !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

/// Replaces the process by a new one with another density. Returns only on failure.
void startAnew(const QByteArray &program, std::vector<char *> arguments, int density)
{
    arguments.push_back(nullptr);
    qputenv(Density, QByteArray::number(density));
    qputenv(Limited, "1");
    execv(program.constData(), arguments.data());
    qunsetenv(Limited);
    qunsetenv(Density);
}

} // namespace

int fittingDensity(int density, const QSize &pixels)
{
    const Controllers::ApplicationController window;
    const int most = std::min(pixels.width() / window.width(), pixels.height() / window.height());
    const int scale = std::clamp(static_cast<int>(density / PlainDensity), 1, std::max(1, most));
    return std::min(density, qRound(scale * LargestText * PlainDensity));
}

std::unique_ptr<QApplication> makeScaledApplication(int &argc, char **argv)
{
    chooseScaling();
    // Qt removes its own arguments.
    const std::vector<char *> arguments(argv, argv + argc);
    const QByteArray token = activationToken();
    auto application = std::make_unique<QApplication>(argc, argv);
    if (qEnvironmentVariableIsSet(Limited)) {
        // Child processes must not inherit it.
        qunsetenv(Limited);
        qunsetenv(Density);
        return application;
    }
    if (!mayLimitDensity())
        return application;
    const QScreen &screen = *QGuiApplication::primaryScreen();
    const int own = densityOf(screen);
    const int fitting = fittingDensity(own, screen.size() * screen.devicePixelRatio());
    if (fitting == own)
        return application;
    // The screen is known only now, but Qt reads the density once per process.
    const QByteArray program = QFile::encodeName(QCoreApplication::applicationFilePath());
    application.reset();
    passOnActivationToken(token);
    startAnew(program, arguments, fitting);
    // If that fails, the program continues with the present density.
    std::copy(arguments.begin(), arguments.end(), argv);
    argc = static_cast<int>(arguments.size());
    return std::make_unique<QApplication>(argc, argv);
}

} // namespace Kavo
