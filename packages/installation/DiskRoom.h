#pragma once

#include "core/ArchiveEntry.h"

#include <QString>

#include <optional>

namespace Kavo {

/// A disk with too little room, in bytes.
struct MissingRoom
{
    qint64 needed = 0;
    qint64 available = 0;
};

/// Whether what an archive unpacks to fits on the disks that it goes to, with a tenth to spare.
/// Usually that is one disk; the user's links may lead parts of it to others. What is replaced or
/// removed meanwhile counts for nothing. Returns the first disk that has too little room, nothing
/// when all is well or cannot be told. Callable from any thread.
std::optional<MissingRoom> findMissingRoom(const Extractors::ArchiveListing &listing,
                                           const QString &folder);

} // namespace Kavo
