#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue init [FILE]`: creates a catalogue without packages. Returns the exit status.
int runInit(const QStringList &arguments);

} // namespace Kavo::Tools
