#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/Question.h"

namespace Kavo::Tools {

/// Requests a file again as a client that has it does: only if it has changed. It does not fetch
/// the body.
Question repetitionOf(const Answer &answer);

} // namespace Kavo::Tools
