#pragma once

#include "packages/model/FailureReason.h"

namespace Kavo::Models {

/// The result of an installation.
struct InstallationResult
{
    /// Whether the version is installed.
    bool succeeded = false;
    /// Whether the removal of the previous version was reached. Before that, nothing in the
    /// simulator has changed and an installed version is intact.
    bool touched = false;
    FailureReason reason; ///< reason of a failure
};

} // namespace Kavo::Models
