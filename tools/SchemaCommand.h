#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue schema`: prints the JSON Schema of catalogues. Returns the exit status.
int runSchema(const QStringList &arguments);

} // namespace Kavo::Tools
