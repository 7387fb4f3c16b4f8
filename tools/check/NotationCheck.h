#pragma once

#include "tools/check/Findings.h"
#include "tools/check/JsonTree.h"

namespace Kavo::Tools {

/// Finds faults outside of packages: in the notation, the type of the top-level value, and
/// characters that no text may contain.
void checkNotation(const JsonTree &tree, Findings &findings);

} // namespace Kavo::Tools
