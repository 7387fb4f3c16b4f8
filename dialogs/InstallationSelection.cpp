#include "dialogs/InstallationSelection.h"

#include "core/Installation.h"
#include "core/Log.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

namespace Kavo::Dialogs {

QString selectInstallation()
{
    while (true) {
        const QString folder =
            QFileDialog::getExistingDirectory(nullptr, QFileDialog::tr("Select the XPlane folder"),
                                              QString(), QFileDialog::ShowDirsOnly);
        if (folder.isEmpty())
            return QString();
        const QString candidate = folder + QDir::separator() + simulatorExecutable();
        logLine(QStringLiteral("Checking directory : ") + candidate);
        if (QFile::exists(candidate))
            return folder + QDir::separator();
        QMessageBox::critical(
            nullptr, QMessageBox::tr("Invalid Folder"),
            QMessageBox::tr(
                // Fixed, see docs/compatibility.md.
                "Oops...this doesn't seem to be a XPlane installation folder.\n\nTry again"),
            QMessageBox::Ok);
    }
}

} // namespace Kavo::Dialogs
