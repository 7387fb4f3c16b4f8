#include "ui/window/TopbarController.h"

#include "core/ApplicationController.h"
#include "core/Settings.h"
#include "packages/PackageController.h"

namespace Kavo::Controllers {

TopbarController::TopbarController(const QSharedPointer<Settings> &settings,
                                   const QSharedPointer<PackageController> &packages,
                                   const QSharedPointer<ApplicationController> &application)
    : m_settings(settings)
    , m_packages(packages)
    , m_application(application)
{}

void TopbarController::refresh()
{
    m_packages->refresh();
}

void TopbarController::reset()
{
    m_packages->reset();
    m_settings->reset();
}

void TopbarController::restore()
{
    m_application->setState(ApplicationController::NORMAL);
}

void TopbarController::maximize()
{
    m_application->setState(ApplicationController::MAXIMIZED);
}

void TopbarController::minimize()
{
    m_application->setState(ApplicationController::MINIMIZED);
}

void TopbarController::exit()
{
    m_application->requestExit();
}

void TopbarController::moveBy(int horizontal, int vertical)
{
    m_application->move(m_application->x() + horizontal, m_application->y() + vertical);
}

} // namespace Kavo::Controllers
