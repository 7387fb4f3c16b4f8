#pragma once

#include "components/WidgetList.h"
#include "packages/model/Package.h"

#include <QSharedPointer>

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

/// The versions of a package, newest first, each with a button that installs it. It is not updated
/// after the package was set.
class PackageDetailOldVersionsList final : public Components::WidgetList
{
    Q_OBJECT

public:
    explicit PackageDetailOldVersionsList(
        const QSharedPointer<Controllers::PackageController> &controller,
        QWidget *parent = nullptr);

    void setPackage(const Models::PackagePointer &package);

private:
    void addRow(const QString &version, bool installed);

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
};

} // namespace Kavo::Ui
