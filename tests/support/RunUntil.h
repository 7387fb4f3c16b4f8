#pragma once

#include <functional>

namespace Kavo::Testing {

/// Runs the event loop until the condition holds. Returns false on timeout. Unlike
/// QTest::qWaitFor(), it never sleeps, so that a server in this process sends at full speed.
bool runUntil(const std::function<bool()> &condition, int milliseconds = 30000);

} // namespace Kavo::Testing
