#pragma once

#include "tests/integration/AddOns.h"
#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// Builds the demonstration with its own tools: its catalogue and archives on the server of the
/// engine, its pretend simulator around what is in the simulator's folder. Ends the program when a
/// tool fails.
AddOns offerDemonstration(Engine &engine);

} // namespace Kavo::Testing
