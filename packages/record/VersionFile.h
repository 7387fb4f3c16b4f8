#pragma once

#include "packages/model/Package.h"

#include <QString>

namespace Kavo::Models {

/// Reads the version that a package's own "Kavo_version.txt" in the simulator folder tells: its
/// third line. Empty when there is no such file, no such line or the package has no versions.
QString readVersionFile(const Package &package, const QString &installationFolder);

} // namespace Kavo::Models
