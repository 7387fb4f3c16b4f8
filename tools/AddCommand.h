#pragma once

#include <QStringList>

namespace Kavo::Tools {

/// `kavo-catalogue add FILE ARCHIVE ...`: adds a version, and its package if that is new, to a
/// catalogue. Returns the exit status.
int runAdd(const QStringList &arguments);

} // namespace Kavo::Tools
