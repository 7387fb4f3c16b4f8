#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue check FILE`: prints what is wrong with a catalogue, and with its archives when
/// these lie in a folder. Returns the exit status.
int runCheck(const QStringList &arguments);

} // namespace Kavo::Tools
