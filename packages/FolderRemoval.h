#pragma once

#include <QString>

namespace Kavo {

/// Deletes a folder with everything in it. Links in it are deleted and never followed, and so is
/// `path` if it is a link itself. What cannot be deleted stays, with the folders it stands in, and
/// the rest goes. Returns whether all of it is gone. Callable from any thread.
bool removeFolder(const QString &path);

} // namespace Kavo
