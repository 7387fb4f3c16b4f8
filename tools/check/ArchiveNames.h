#pragma once

#include "tools/check/Findings.h"
#include "tools/check/ShippedFiles.h"

namespace Kavo::Tools {

/// Checks the names in an archive: those that no file system or only some accept, and those that
/// only some distinguish. `link` is the place of the findings.
void checkNames(const ShippedFiles &shipped, const JsonNode &link, Findings &findings);

} // namespace Kavo::Tools
