#pragma once

#include "tools/probe/Answer.h"
#include "tools/probe/Question.h"

namespace Kavo::Tools {

/// Asks for a file again as who has it already does: only in case that it has changed. It does not
/// take the body.
Question repetitionOf(const Answer &answer);

} // namespace Kavo::Tools
