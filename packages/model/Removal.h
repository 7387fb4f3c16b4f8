#pragma once

#include "packages/model/Package.h"
#include "packages/model/RemovalFaults.h"

#include <QString>

#include <optional>

namespace Kavo::Models {

/// What came of the order to remove a package and what depends on it.
struct Removal
{
    /// The packages on their way because of which nothing was removed.
    PackageList blockers;
    /// The simulator's folder, when it holds no simulator, as on a disk that is not mounted.
    /// Nothing was removed from then on, and what was not removed counts as installed.
    std::optional<QString> missingSimulator;
    /// Of all packages that were removed.
    RemovalFaults faults;
};

} // namespace Kavo::Models
