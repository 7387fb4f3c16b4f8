#pragma once

#include "tools/check/Findings.h"
#include "tools/check/StoredArchive.h"

namespace Kavo::Tools {

/// Tells what is wrong with an archive whatever version it is of, and how large it is unpacked.
/// `link` is where the findings stand. Returns whether clients can unpack it.
bool checkArchive(const StoredArchive &archive, const JsonNode &link, Findings &findings);

} // namespace Kavo::Tools
