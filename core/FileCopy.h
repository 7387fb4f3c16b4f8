#pragma once

#include <QString>

namespace Kavo {

/// Copies a file with its permissions to a path that does not exist yet, in a folder that does.
/// Returns whether it succeeded. Never overwrites anything.
///
/// The copy appears under its name in one step: after a sudden end it is there completely or not at
/// all. Until then the data is in a hidden file beside it, which the next attempt removes. May be
/// called on any thread.
bool copyWhole(const QString &from, const QString &to);

/// Like copyWhole(), but replaces an existing file or link, in one step and only by the complete
/// copy.
bool copyOver(const QString &from, const QString &to);

/// Moves a file to a path that does not exist yet, in a folder that does, if necessary to another
/// disk. Returns whether it succeeded. After a sudden end the file is in the old place, in the new
/// one, or in both.
bool moveWhole(const QString &from, const QString &to);

/// Whether two paths lead to the same file or folder, directly or by links. False if one of them
/// does not exist.
bool isSameFile(const QString &first, const QString &second);

/// Whether both files can be read and have the same content.
bool haveEqualContent(const QString &first, const QString &second);

/// Whether a path exists; a dangling link counts.
bool isTaken(const QString &place);

/// Returns the path of a hidden file in the folder of `place` that belongs to it. Every call with
/// the same place and purpose returns the same path, and the name is never too long. A purpose is
/// one short word.
QString hiddenBeside(const QString &place, const QString &purpose);

} // namespace Kavo
