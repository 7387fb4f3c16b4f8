#pragma once

#include <QString>

namespace Kavo {

/// Sum of the sizes of all files in a folder and its subfolders, in bytes, hidden files included.
/// Links to folders are not followed: they may lead back. What is missing or cannot be read counts
/// nothing. Blocks.
qint64 folderSize(const QString &path);

} // namespace Kavo
