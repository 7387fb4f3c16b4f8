#pragma once

#include "core/ArchiveEntry.h"

#include <QString>

#include <optional>

namespace Kavo {

/// A disk with too little free space, in bytes.
struct MissingRoom
{
    qint64 needed = 0;
    qint64 available = 0;
};

/// Checks whether the unpacked files of an archive fit on their disks, with a tenth to spare.
/// Usually that is one disk, but links of the user may lead to others. Files that are replaced or
/// removed are not subtracted. Returns the first disk with too little space; nothing if all fits or
/// it cannot be determined. May be called on any thread.
std::optional<MissingRoom> findMissingRoom(const Extractors::ArchiveListing &listing,
                                           const QString &folder);

} // namespace Kavo
