#pragma once

#include <QString>

/// The program's folders. Every path returned here is absolute and ends in QDir::separator(), so
/// that file names can be appended directly. Nothing is remembered: each call asks Qt anew.
/// Fixed, see docs/compatibility.md.
namespace Kavo {

/// Folder of the running executable.
QString applicationDirectory();

/// Per-user application data folder, created with its parents when missing.
QString applicationDataDirectory();

/// Default folders of the settings of the same names; computed only, not created.
QString cacheDirectory();
QString preserveDirectory();
QString backupDirectory();

/// Creates the folder when it is missing, with its parents when `recursive` is set.
/// Returns whether the folder exists afterwards.
bool ensureDirectory(const QString &path, bool recursive);

} // namespace Kavo
