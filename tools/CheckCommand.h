#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue check FILE`: prints the faults of a catalogue, and of its archives if a folder
/// with them is given. Returns the exit status.
int runCheck(const QStringList &arguments);

} // namespace Kavo::Tools
