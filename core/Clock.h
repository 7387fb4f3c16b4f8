#pragma once

#include <QtGlobal>

#include <functional>

namespace Kavo {

/// Answers the milliseconds since some moment of its own. It never goes back and knows nothing of
/// the time of day.
using Clock = std::function<qint64()>;

/// The machine's own, which stands still while the machine sleeps.
Clock steadyClock();

} // namespace Kavo
