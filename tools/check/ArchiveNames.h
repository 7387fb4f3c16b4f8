#pragma once

#include "tools/check/Findings.h"
#include "tools/check/ShippedFiles.h"

namespace Kavo::Tools {

/// Looks at the names in an archive: those that no file system takes, those that some do not take,
/// and those that only some tell apart. `link` is where the findings stand.
void checkNames(const ShippedFiles &shipped, const JsonNode &link, Findings &findings);

} // namespace Kavo::Tools
