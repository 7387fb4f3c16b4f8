#pragma once

#include "core/FailedPaths.h"

#include <QString>

namespace Kavo {

/// Deletes a folder with everything in it, or a file. Links in it are deleted and never followed,
/// and so is `path` if it is a link itself. What is gone already counts as deleted. What cannot be
/// deleted stays, with the folders it stands in, and the rest goes. Adds to `failed` what could not
/// be deleted by itself, without the folders that stay because of it, and returns whether all is
/// gone. Callable from any thread.
bool removeFolder(const QString &path, FailedPaths *failed = nullptr);

} // namespace Kavo
