#pragma once

#include <QString>

namespace Kavo::Models {

/// A copy in the preserve folder is settled when an installation has come to its end and the copy
/// stays, because the archive has brought a file of its own. When the user edits that file, the
/// copy is the older one. All other copies may be the only ones of the user's files: those of an
/// installation that has failed or ended suddenly.
///
/// A copy in the backup folder is settled when an installation has replaced the original. As long
/// as the file that was brought stands there, it is the add-on's and may give way to the original.
///
/// A hidden file beside the copy tells what the archive has brought. When it cannot be written or
/// read, the copy is one of the others, which is the safe side. Callable from any thread.
void settle(const QString &copy, const QString &brought);

/// Takes the mark away, also when the copy itself is gone.
void unsettle(const QString &copy);

/// Whether the copy is settled and `file` is another one than the archive has brought then.
bool isOlder(const QString &copy, const QString &file);

/// Whether the copy is settled and `file` is the one that the archive has brought then.
bool isAsBrought(const QString &copy, const QString &file);

/// Where the mark of a copy is.
QString settledMarkOf(const QString &copy);

} // namespace Kavo::Models
