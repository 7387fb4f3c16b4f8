#pragma once

#include <QtGlobal>

#include <functional>

namespace Kavo {

/// Returns milliseconds since an arbitrary moment. It never goes back and is independent of the
/// time of day.
using Clock = std::function<qint64()>;

/// The machine's monotonic clock, which stops while the machine sleeps.
Clock steadyClock();

} // namespace Kavo
