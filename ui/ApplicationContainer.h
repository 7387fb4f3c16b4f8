#pragma once

#include "components/StyledWidget.h"

#include <QSharedPointer>

namespace Kavo::Controllers {
class ApplicationController;
class PackageController;
class TopbarController;
} // namespace Kavo::Controllers

namespace Kavo::Ui {

/// What the main window holds: the top bar above the package area.
class ApplicationContainer final : public Components::StyledWidget
{
    Q_OBJECT

public:
    ApplicationContainer(const QSharedPointer<Controllers::ApplicationController> &application,
                         const QSharedPointer<Controllers::PackageController> &packages,
                         const QSharedPointer<Controllers::TopbarController> &topbar,
                         QWidget *parent = nullptr);

private:
    QSharedPointer<Controllers::ApplicationController> m_application;
};

} // namespace Kavo::Ui
