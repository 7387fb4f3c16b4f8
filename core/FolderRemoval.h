#pragma once

#include "core/FailedPaths.h"

#include <QString>

namespace Kavo {

/// Deletes a file, or a folder with everything in it. Links are deleted and never followed; that
/// includes `path` itself. An entry that is already gone counts as deleted. If an entry cannot be
/// deleted, it stays with the folders around it, and everything else is deleted. Adds the entries
/// that could not be deleted to `failed`, without the folders around them. Returns whether
/// everything is gone. May be called on any thread.
bool removeFolder(const QString &path, FailedPaths *failed = nullptr);

} // namespace Kavo
