#pragma once

#include "packages/model/Package.h"

#include <QString>

class QWidget;

namespace Kavo::Ui {

/// The message box for an error of a package.
class PackageErrorBox final
{
public:
    /// Shows the box for an error state and returns when it is closed; the parent may be destroyed
    /// by then. Does nothing for other states. The reason may be empty.
    static void show(QWidget *parent, Models::Package::State state, const QString &packageName,
                     const QString &reason);
};

} // namespace Kavo::Ui
