#include "ui/PackageDetailInfoWidget.h"

#include "packages/PackageController.h"
#include "ui/FactLabel.h"

#include <QVBoxLayout>

namespace Kavo::Ui {

using Models::PackagePointer;

namespace {

constexpr int RowCount = 8;

} // namespace

PackageDetailInfoWidget::PackageDetailInfoWidget(
    const QSharedPointer<Controllers::PackageController> &controller, QWidget *parent)
    : StyledWidget(QStringLiteral("PackageDetailInfoWidget"), parent)
    , m_controller(controller)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    for (int row = 0; row < RowCount; ++row) {
        auto *label = new FactLabel(this);
        label->setObjectName(QStringLiteral("FactLabel"));
        layout->addWidget(label);
        m_rows.append(label);
    }
}

void PackageDetailInfoWidget::setPackage(const PackagePointer &package)
{
    const QStringList texts = package ? facts(package) : QStringList();
    for (int row = 0; row < RowCount; ++row)
        m_rows.at(row)->setText(texts.value(row));
}

QStringList PackageDetailInfoWidget::facts(const PackagePointer &package) const
{
    // The tabs line the values up under each other.
    const QString one = QStringLiteral("\t: ");
    const QString two = QStringLiteral("\t\t: ");
    const QString product =
        package->productId() < 1 ? tr("NA") : QString::number(package->productId());
    return {tr("Installed") + one + m_controller->installedVersion(package),
            tr("Available") + one + package->newestVersion(),
            tr("Type") + two + package->type(),
            tr("Package ID") + one + QString::number(package->id()),
            tr("Email") + two,
            tr("Author") + two,
            tr("Company") + one,
            tr("Product ID") + one + product};
}

} // namespace Kavo::Ui
