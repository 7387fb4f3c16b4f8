#pragma once

#include "packages/Package.h"

#include <QListWidget>
#include <QSharedPointer>

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

/// The versions of a package, newest first, each with a button that installs it. It shows how
/// things were when the package was set.
class PackageDetailOldVersionsList final : public QListWidget
{
    Q_OBJECT

public:
    explicit PackageDetailOldVersionsList(
        const QSharedPointer<Controllers::PackageController> &controller,
        QWidget *parent = nullptr);

    void setPackage(const Models::PackagePointer &package);

private:
    void clearRows();
    void addRow(const QString &version, bool installed);

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
};

} // namespace Kavo::Ui
