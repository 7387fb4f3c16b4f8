#pragma once

#include <QString>

#include <optional>

namespace Kavo::Models {

/// The progress of the work on a package at one moment. All values are defaults for a package
/// without work.
struct WorkProgress
{
    qint64 received = 0;               ///< bytes of the archive on the disk
    qint64 total = 0;                  ///< its size in bytes, less than 1 while it is unknown
    std::optional<qint64> secondsLeft; ///< of the download, if it can be estimated
    bool isSilent = false;             ///< whether nothing has arrived from the server for a while
    QString waitsFor;                  ///< name of the package that has to be installed first
};

} // namespace Kavo::Models
