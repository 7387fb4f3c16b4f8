#pragma once

#include "packages/model/FailureReason.h"

namespace Kavo::Models {

/// What became of an installation.
struct InstallationResult
{
    /// Whether the version is installed.
    bool succeeded = false;
    /// Whether the removal of the version before was reached. Until then nothing of the simulator
    /// has changed, and an installed version is as whole as before.
    bool touched = false;
    FailureReason reason; ///< why it has failed
};

} // namespace Kavo::Models
