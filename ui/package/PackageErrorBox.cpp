#include "ui/package/PackageErrorBox.h"

#include "dialogs/MessageBoxes.h"

namespace Kavo::Ui {

using Models::Package;

void PackageErrorBox::show(QWidget *parent, Package::State state, const QString &packageName,
                           const QString &reason)
{
    const auto showBox = [&](const QString &title, const QString &text) {
        Dialogs::showMessage(parent, QMessageBox::Critical, title, text + packageName, reason);
    };
    switch (state) {
    case Package::INSTALL_ERROR:
        showBox(tr("Install Error"), tr("Installation failed for package : "));
        break;
    case Package::DOWNLOAD_ERROR:
        showBox(tr("Download Error"), tr("Downloading failed for package : "));
        break;
    case Package::DEPENDENCY_ERROR:
        // Fixed, see docs/compatibility.md.
        showBox(tr("Dependency Error"),
                tr("Unable to install one or more dependency for package : "));
        break;
    case Package::AVAILABLE:
    case Package::INSTALLED:
    case Package::PREPARING:
    case Package::DOWNLOADING:
    case Package::INSTALLING:
    case Package::UNINSTALLING:
    case Package::UNKNOWN:
        break;
    }
}

} // namespace Kavo::Ui
