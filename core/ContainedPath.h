#pragma once

#include <QString>
#include <QStringList>

namespace Kavo {

/// Paths in a catalogue come from outside and are not trusted.
///
/// Returns the clean absolute path of `entry` under `folder`, or an empty text when the entry is
/// empty, absolute, names the folder itself or leaves it by "..". Links on disk are not looked at.
QString containedPath(const QString &folder, const QString &entry);

/// Whether the folder in which `path` stands, with every link on the way resolved, still lies in
/// one of `roots`. Folders that do not exist yet count as lying where they would be made.
bool staysWithin(const QString &path, const QStringList &roots);

/// Whether `inner`, with every link resolved, is the folder `outer` or lies in it. False when one
/// of them does not exist.
bool isInFolder(const QString &inner, const QString &outer);

/// Whether two folders, with every link resolved, are the same or one lies in the other. Folders
/// that do not exist yet count as lying where they would be made.
bool overlap(const QString &first, const QString &second);

} // namespace Kavo
