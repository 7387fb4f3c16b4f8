#pragma once

#include "tools/check/Findings.h"
#include "tools/check/StoredArchive.h"

namespace Kavo::Tools {

/// Finds the faults of an archive that do not depend on a version, and its unpacked size. `link` is
/// the place of the findings. Returns whether clients can unpack the archive.
bool checkArchive(const StoredArchive &archive, const JsonNode &link, Findings &findings);

} // namespace Kavo::Tools
