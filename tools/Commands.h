#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// Runs the command that is the first argument. `arguments` does not include the name of the
/// program. Returns the exit status.
int runCommand(const QStringList &arguments);

} // namespace Kavo::Tools
