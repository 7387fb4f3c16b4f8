#pragma once

#include <QString>
#include <QStringList>

namespace Kavo {

/// Resolves a path from a catalogue, which is not trusted.
///
/// Returns the clean absolute path of `entry` under `folder`. Returns an empty text if the entry is
/// empty or absolute, names the folder itself, or leaves it by "..". Links on disk are not
/// resolved.
QString containedPath(const QString &folder, const QString &entry);

/// Whether the parent folder of `path`, with all links resolved, lies in one of `roots`. A folder
/// that does not exist yet is judged by where it would be created.
bool staysWithin(const QString &path, const QStringList &roots);

/// Whether `inner`, with all links resolved, is the folder `outer` or lies in it. False if one of
/// them does not exist.
bool isInFolder(const QString &inner, const QString &outer);

/// Whether two folders, with all links resolved, are the same or one contains the other. A folder
/// that does not exist yet is judged by where it would be created.
bool overlap(const QString &first, const QString &second);

} // namespace Kavo
