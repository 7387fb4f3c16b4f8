#pragma once

#include "packages/model/Package.h"

#include <QString>

class QWidget;

namespace Kavo::Ui {

/// The message box that tells of a package's failed work.
class PackageErrorBox final
{
public:
    /// Shows the box for an error state and returns when it is closed; the parent may be gone then.
    /// Does nothing for any other state. The reason may be empty.
    static void show(QWidget *parent, Models::Package::State state, const QString &packageName,
                     const QString &reason);
};

} // namespace Kavo::Ui
