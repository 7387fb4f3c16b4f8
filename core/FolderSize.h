#pragma once

#include <QString>

namespace Kavo {

/// Returns the sum of the sizes of all files in a folder and its subfolders in bytes, including
/// hidden files. Links to folders are not followed, since they may form a loop. Files that are
/// missing or cannot be read count as 0. Blocks.
qint64 folderSize(const QString &path);

} // namespace Kavo
