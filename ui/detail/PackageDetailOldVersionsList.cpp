#include "ui/detail/PackageDetailOldVersionsList.h"

#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "packages/PackageController.h"
#include "ui/detail/PackageDetailOldVersionWidget.h"
#include "ui/package/PackageActions.h"

namespace Kavo::Ui {

using Models::Package;
using Models::PackagePointer;
using Models::PackageVersionPointer;

PackageDetailOldVersionsList::PackageDetailOldVersionsList(
    const QSharedPointer<Controllers::PackageController> &controller, QWidget *parent)
    : WidgetList(QStringLiteral("PackageDetailOldVersionsList"), parent)
    , m_controller(controller)
{
    setAccessibleName(tr("Old versions"));
}

void PackageDetailOldVersionsList::setPackage(const PackagePointer &package)
{
    clearRows();
    m_package = package;
    if (!package)
        return;
    QString installed;
    if (package->state() == Package::INSTALLED)
        installed = m_controller->installedVersion(package);
    for (const PackageVersionPointer &version : package->versions())
        addRow(version->version, version->version == installed);
}

void PackageDetailOldVersionsList::addRow(const QString &version, bool installed)
{
    auto *widget = new PackageDetailOldVersionWidget(version, this);
    widget->setButtonText(installed ? tr("Installed") : tr("Download"));
    widget->setButtonIcon(Components::iconFont()->icon(installed ? Components::Glyph::Check
                                                                 : Components::Glyph::Download,
                                                       Components::darkIconOptions()));
    connect(widget, &PackageDetailOldVersionWidget::buttonClicked, this, [this, version] {
        PackageActions(m_controller, m_package, this).installVersion(version);
    });
    appendRow(widget, widget->sizeHint());
}

} // namespace Kavo::Ui
