#pragma once

#include <QSet>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// The packages, by id, that rely on a copy in the backup folder: each of them is about to replace
/// the original or has done so, and is not removed yet. A copy on which nobody relies is over: the
/// file that stands in its place is the user's, and the next package that replaces it has to back
/// up that one.
///
/// A hidden file beside the copy tells it. Nothing where that is missing or cannot be read, as for
/// copies from before there were such files. Removals and installations may go on at the same time;
/// callable from any thread.
std::optional<QSet<int>> usersOf(const QString &copy);

/// Says that nobody relies on the copy, be it a copy that is still to be made. Returns whether that
/// is written.
bool setUnused(const QString &copy);

/// Adds a package, unless nothing is known. Returns false when it cannot be written.
bool addUser(const QString &copy, int package);

/// Takes a package away; when nothing is known, nobody relies on the copy from now on. Returns
/// false when it cannot be written.
bool removeUser(const QString &copy, int package);

/// Where the file is.
QString usersMarkOf(const QString &copy);

} // namespace Kavo::Models
