#include "app/ActivationToken.h"
#include "app/PlatformGuard.h"
#include "app/ScreenScale.h"
#include "app/StartUp.h"

#include <QApplication>

#include <memory>

int main(int argc, char *argv[])
{
    const QByteArray token = Kavo::activationToken();
    auto guard = std::make_unique<Kavo::PlatformGuard>();
    const auto application = Kavo::makeScaledApplication(argc, argv);
    guard.reset();
    return Kavo::StartUp(*application, Kavo::PackageEnvironment::standard(), token).run();
}
