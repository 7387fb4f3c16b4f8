#include "app/PlatformGuard.h"
#include "app/StartUp.h"

#include <QApplication>

#include <memory>

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // Whole factors for what a screen says of itself: many say 96.1 or 100 dots to the inch, and
    // nothing would be crisp. Who wants another factor sets QT_SCALE_FACTOR, which is kept as it
    // is.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::Round);
    auto guard = std::make_unique<Kavo::PlatformGuard>();
    QApplication application(argc, argv);
    guard.reset();
    return Kavo::StartUp(application).run();
}
