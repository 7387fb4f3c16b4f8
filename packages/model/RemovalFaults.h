#pragma once

#include "core/FailedPaths.h"

namespace Kavo::Models {

/// What a removal could not do.
struct RemovalFaults
{
    FailedPaths remaining;   ///< what could not be deleted, without the folders around it
    FailedPaths notReturned; ///< backups whose originals could not be put back; they stay
};

} // namespace Kavo::Models
