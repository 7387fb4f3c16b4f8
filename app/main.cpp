#include "app/PlatformGuard.h"
#include "app/ScreenScale.h"
#include "app/StartUp.h"

#include <QApplication>

#include <memory>

int main(int argc, char *argv[])
{
    auto guard = std::make_unique<Kavo::PlatformGuard>();
    const auto application = Kavo::makeScaledApplication(argc, argv);
    guard.reset();
    return Kavo::StartUp(*application).run();
}
