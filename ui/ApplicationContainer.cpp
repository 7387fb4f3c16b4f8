#include "ui/ApplicationContainer.h"

#include "core/ApplicationController.h"
#include "ui/PackageContainer.h"
#include "ui/TopBar.h"

#include <QVBoxLayout>

namespace Kavo::Ui {

ApplicationContainer::ApplicationContainer(
    const QSharedPointer<Controllers::ApplicationController> &application,
    const QSharedPointer<Controllers::PackageController> &packages,
    const QSharedPointer<Controllers::TopbarController> &topbar, QWidget *parent)
    : StyledWidget(QStringLiteral("ApplicationContainer"), parent)
    , m_application(application)
{
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new TopBar(topbar, this));
    layout->addWidget(new PackageContainer(packages, this));
}

} // namespace Kavo::Ui
