#pragma once

#include <functional>

namespace Kavo::Testing {

/// Runs the event loop until the condition holds, and returns whether it came to hold in time.
/// Unlike QTest::qWaitFor() it never sleeps, so that a server in this process sends as fast as it
/// can.
bool runUntil(const std::function<bool()> &condition, int milliseconds);

} // namespace Kavo::Testing
