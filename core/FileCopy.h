#pragma once

#include <QString>

namespace Kavo {

/// Copies a file with its permissions to a place that is still free, in a folder that exists.
/// Returns whether it did; nothing is ever overwritten.
///
/// The place is taken at once by the whole file: after a sudden end the copy stands there complete
/// or not at all. What was written until then lies beside it under a hidden name and is cleared
/// away by the next attempt. Callable from any thread.
bool copyWhole(const QString &from, const QString &to);

/// The same, but a file or link that stands there gives way, at once and only to the whole copy.
bool copyOver(const QString &from, const QString &to);

/// Moves a file to a place that is still free, in a folder that exists, if need be to another disk.
/// Returns whether it did. After a sudden end it stands in one of the places or in both.
bool moveWhole(const QString &from, const QString &to);

/// Whether two paths lead to one file or folder, by whatever links. False when one of them leads
/// nowhere.
bool isSameFile(const QString &first, const QString &second);

/// Whether two files can be read and are the same, byte for byte.
bool haveEqualContent(const QString &first, const QString &second);

/// Whether something stands at a place, be it a link to nowhere.
bool isTaken(const QString &place);

/// A hidden name in the folder of `place` for what belongs to it. The same for every call, another
/// one for another place or purpose, and never too long for a name. A purpose is one short word.
QString hiddenBeside(const QString &place, const QString &purpose);

} // namespace Kavo
