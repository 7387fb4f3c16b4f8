#pragma once

#include <QSet>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// The packages, by id, that rely on a copy in the backup folder: each of them is about to replace
/// the original or has replaced it, and is not removed yet. If no package relies on a copy, the
/// file in its place belongs to the user, and the next package that replaces it must back up that
/// file.
///
/// A hidden file beside the copy holds the ids. The value is nothing if that file is missing or
/// cannot be read, as for copies from before such files existed. Removals and installations may run
/// at the same time; may be called on any thread.
std::optional<QSet<int>> usersOf(const QString &copy);

/// Stores that no package relies on the copy, which may not exist yet. Returns whether it was
/// written.
bool setUnused(const QString &copy);

/// Adds a package, unless nothing is known. Returns false if it cannot be written.
bool addUser(const QString &copy, int package);

/// Removes a package; if nothing is known, no package relies on the copy from then on. Returns
/// false if it cannot be written.
bool removeUser(const QString &copy, int package);

/// The path of the hidden file.
QString usersMarkOf(const QString &copy);

} // namespace Kavo::Models
