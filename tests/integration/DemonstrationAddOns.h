#pragma once

#include "tests/integration/AddOns.h"
#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// Builds the demonstration with its own tools. Puts its catalogue and archives on the engine's
/// server, and adds the files of its simulator to the engine's simulator folder. Ends the process
/// if a tool fails.
AddOns offerDemonstration(Engine &engine);

} // namespace Kavo::Testing
