#include "ui/package/PackageErrorBox.h"

#include "dialogs/MessageBoxes.h"
#include "ui/package/StateLook.h"

namespace Kavo::Ui {

using Models::Package;

void PackageErrorBox::show(QWidget *parent, Package::State state, const QString &packageName,
                           const QString &reason)
{
    const StateLook look = StateLook::of(state, false);
    if (!look.failure.isEmpty())
        Dialogs::showMessage(parent, QMessageBox::Critical, look.text, look.failure + packageName,
                             reason);
}

} // namespace Kavo::Ui
