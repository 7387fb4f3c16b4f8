#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue probe`: sends all requests of the program to a catalogue server and prints the
/// results. The arguments follow the name of the command. Returns the exit status. Needs an
/// application object and runs an event loop.
int runProbe(const QStringList &arguments);

} // namespace Kavo::Tools
