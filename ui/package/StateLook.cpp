#include "ui/package/StateLook.h"

#include "components/Glyphs.h"

namespace Kavo::Ui {

using Models::Package;
namespace Glyph = Components::Glyph;

StateLook StateLook::of(Package::State state, bool updateAvailable)
{
    StateLook look;
    switch (state) {
    case Package::UNKNOWN:
        break;
    case Package::AVAILABLE:
        look = action(tr("Download"), QStringLiteral("Download"));
        break;
    case Package::INSTALLED:
        look = updateAvailable ? action(tr("Update"), QStringLiteral("Update")) : installed();
        look.isRemovable = true;
        break;
    case Package::PREPARING:
        look = busy(tr("Preparing"));
        break;
    case Package::DOWNLOADING:
        look = busy(tr("Downloading"));
        break;
    case Package::INSTALLING:
        look = busy(tr("Installing"));
        look.isUnmeasured = true;
        break;
    case Package::UNINSTALLING:
        look = busy(tr("Uninstalling"));
        look.isUnmeasured = true;
        look.hasIndicator = false;
        break;
    case Package::INSTALL_ERROR:
        look = failed(tr("Install Error"), tr("Installation failed for package : "));
        break;
    case Package::DOWNLOAD_ERROR:
        look = failed(tr("Download Error"), tr("Downloading failed for package : "));
        break;
    case Package::DEPENDENCY_ERROR:
        // Fixed, see docs/compatibility.md.
        look = failed(tr("Dependency Error"),
                      tr("Unable to install one or more dependency for package : "));
        // The work may have been started by the installation of another package.
        look.isAlwaysTold = true;
        break;
    }
    return look;
}

StateLook StateLook::action(const QString &text, const QString &objectName)
{
    StateLook look;
    look.text = text;
    look.objectName = objectName;
    look.glyph = Glyph::Download;
    look.isEnabled = true;
    look.isOnPage = true;
    return look;
}

StateLook StateLook::installed()
{
    StateLook look;
    look.text = tr("Installed");
    look.objectName = QStringLiteral("Installed");
    look.glyph = Glyph::Check;
    look.isOnPage = true;
    return look;
}

StateLook StateLook::busy(const QString &text)
{
    StateLook look;
    look.text = text;
    // Fixed, see docs/compatibility.md.
    look.objectName = QStringLiteral("Busy");
    look.glyph = Glyph::Hourglass;
    look.hasProgress = true;
    look.hasIndicator = true;
    return look;
}

StateLook StateLook::failed(const QString &text, const QString &failure)
{
    StateLook look;
    look.text = text;
    look.objectName = QStringLiteral("Error");
    look.glyph = Glyph::Warning;
    look.hint = tr("To try again, press Refresh at the top");
    look.failure = failure;
    return look;
}

} // namespace Kavo::Ui
