#include "ui/detail/PackageDetailInfoWidget.h"

#include "packages/PackageController.h"
#include "ui/detail/FactLabel.h"

#include <QGridLayout>

namespace Kavo::Ui {

using Models::PackagePointer;

namespace {

constexpr int FactCount = 8;
constexpr int ColumnCount = 2;
constexpr int RowCount = (FactCount + ColumnCount - 1) / ColumnCount;

} // namespace

PackageDetailInfoWidget::PackageDetailInfoWidget(
    const QSharedPointer<Controllers::PackageController> &controller, QWidget *parent)
    : StyledWidget(QStringLiteral("PackageDetailInfoWidget"), parent)
    , m_controller(controller)
{
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setHorizontalSpacing(24);
    layout->setVerticalSpacing(8);
    for (int fact = 0; fact < FactCount; ++fact) {
        auto *label = new FactLabel(this);
        label->setObjectName(QStringLiteral("FactLabel"));
        // Fills the first column from top to bottom and then the next.
        layout->addWidget(label, fact % RowCount, fact / RowCount);
        layout->setColumnStretch(fact / RowCount, 1);
        m_labels.append(label);
    }
}

void PackageDetailInfoWidget::setPackage(const PackagePointer &package)
{
    const QStringList texts = package ? facts(package) : QStringList();
    for (int fact = 0; fact < FactCount; ++fact)
        m_labels.at(fact)->setText(texts.value(fact));
}

QStringList PackageDetailInfoWidget::facts(const PackagePointer &package) const
{
    // FactLabel aligns the values, whatever the number of tabs.
    // Fixed, see docs/compatibility.md.
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
