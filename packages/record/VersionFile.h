#pragma once

#include "packages/model/Package.h"

#include <QString>

namespace Kavo::Models {

/// Reads the version from a package's own "Kavo_version.txt" in the simulator folder, which has it
/// in its third line. Empty if there is no such file or line, or if the package has no versions.
QString readVersionFile(const Package &package, const QString &installationFolder);

} // namespace Kavo::Models
