#pragma once

#include <QString>

namespace Kavo::Models {

/// A copy in the preserve folder is settled if its installation has ended and the copy was kept
/// because the archive has brought its own file. If the user edits that file, the copy is the older
/// one. Any other copy may be the only one of a file of the user, left by an installation that
/// failed or ended suddenly.
///
/// A copy in the backup folder is settled if an installation has replaced the original. As long as
/// the file from the archive is in its place, it belongs to the add-on and may be replaced by the
/// original.
///
/// A hidden file beside the copy, its mark, describes the file from the archive. If it cannot be
/// written or read, the copy counts as not settled, which is safe. May be called on any thread.
void settle(const QString &copy, const QString &brought);

/// Removes the mark, also if the copy itself is gone.
void unsettle(const QString &copy);

/// Whether the copy is settled and `file` differs from the file of the archive.
bool isOlder(const QString &copy, const QString &file);

/// Whether the copy is settled and `file` is the file of the archive.
bool isAsBrought(const QString &copy, const QString &file);

/// The path of a copy's mark.
QString settledMarkOf(const QString &copy);

} // namespace Kavo::Models
