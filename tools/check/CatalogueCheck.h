#pragma once

#include "tools/check/CheckReport.h"

#include <QByteArray>

namespace Kavo::Tools {

/// Checks a catalogue by itself, without a look at its archives: the notation, every value, and
/// what packages and versions are to each other. Touches no file. Callable from any thread.
CheckReport checkCatalogue(const QByteArray &bytes);

} // namespace Kavo::Tools
