#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue probe`: asks a catalogue server for all that the program asks it for, and prints
/// what came. The arguments are those behind the name of the command. Returns the exit status.
/// Needs an application object and runs an event loop.
int runProbe(const QStringList &arguments);

} // namespace Kavo::Tools
