#pragma once

#include <QString>

namespace Kavo {

/// Copies a file with its permissions to a place that is still free, in a folder that exists.
/// Returns whether it did; nothing is ever overwritten.
///
/// The place is taken at once by the whole file: after a sudden end the copy stands there complete
/// or not at all. What was written until then lies beside it under a hidden name and is cleared
/// away by the next attempt. Callable from any thread.
bool copyWhole(const QString &from, const QString &to);

} // namespace Kavo
