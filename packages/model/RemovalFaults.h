#pragma once

#include "core/FailedPaths.h"

namespace Kavo::Models {

/// The failures of a removal.
struct RemovalFaults
{
    FailedPaths remaining;   ///< entries that could not be deleted, without the folders around them
    FailedPaths notReturned; ///< backups whose originals could not be restored; they are kept
};

} // namespace Kavo::Models
