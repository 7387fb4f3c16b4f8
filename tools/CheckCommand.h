#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue check FILE`: prints what is wrong with a catalogue. Returns the exit status.
int runCheck(const QStringList &arguments);

} // namespace Kavo::Tools
