#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// Runs the command that stands first among the arguments, which are those behind the name of the
/// program. Returns the exit status.
int runCommand(const QStringList &arguments);

} // namespace Kavo::Tools
