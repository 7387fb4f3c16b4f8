#pragma once

#include "components/StyledWidget.h"
#include "packages/model/Package.h"

#include <QSharedPointer>
#include <QVector>

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Ui {

class FactLabel;

/// The table of facts about a package, in two columns. It is not updated after the package was set.
class PackageDetailInfoWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailInfoWidget(
        const QSharedPointer<Controllers::PackageController> &controller,
        QWidget *parent = nullptr);

    void setPackage(const Models::PackagePointer &package);

private:
    QStringList facts(const Models::PackagePointer &package) const;

    QSharedPointer<Controllers::PackageController> m_controller;
    QVector<FactLabel *> m_labels;
};

} // namespace Kavo::Ui
