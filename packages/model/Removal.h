#pragma once

#include "packages/model/Package.h"
#include "packages/model/RemovalFaults.h"

#include <QString>

#include <optional>

namespace Kavo::Models {

/// The result of removing a package and everything that depends on it.
struct Removal
{
    /// The packages being installed that prevented the removal. If there are any, nothing was
    /// removed.
    PackageList blockers;
    /// The simulator's folder if it holds no simulator, for example because its disk is not
    /// mounted. The removal stopped there, and the packages that were not removed still count as
    /// installed.
    std::optional<QString> missingSimulator;
    /// The failures for all packages that were removed.
    RemovalFaults faults;
};

} // namespace Kavo::Models
