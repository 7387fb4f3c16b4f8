#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue add FILE ARCHIVE ...`: adds a version, and if necessary its package, to a
/// catalogue. Returns the exit status.
int runAdd(const QStringList &arguments);

} // namespace Kavo::Tools
