#pragma once

#include "packages/InstalledPackageDatabase.h"
#include "packages/Package.h"

#include <QString>

namespace Kavo::Models {

/// Reads a catalogue file and marks what the database or a version file knows to be installed.
/// A file that cannot be opened gives no packages. `concerned` are the ids that work which is going
/// on is about. Main thread.
PackageList loadCatalogue(const QString &path, const QString &language,
                          InstalledPackageDatabase &database, const QSet<int> &concerned);

} // namespace Kavo::Models
