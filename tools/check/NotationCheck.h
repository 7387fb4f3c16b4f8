#pragma once

#include "tools/check/Findings.h"
#include "tools/check/JsonTree.h"

namespace Kavo::Tools {

/// Finds what is wrong with a catalogue before any package is looked at: its notation, what stands
/// at the top, and characters that no text of it may have.
void checkNotation(const JsonTree &tree, Findings &findings);

} // namespace Kavo::Tools
