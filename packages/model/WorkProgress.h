#pragma once

#include <QString>

#include <optional>

namespace Kavo::Models {

/// How far the work on a package is, at the moment of asking. Nothing in it is set for a package
/// that is not on its way.
struct WorkProgress
{
    qint64 received = 0;               ///< bytes of the archive on the disk
    qint64 total = 0;                  ///< its size in bytes, less than 1 while it is not known
    std::optional<qint64> secondsLeft; ///< of the download, as far as there is any telling
    bool isSilent = false;             ///< nothing has come from the server for a while
    QString waitsFor;                  ///< name of the package that has to be installed before
};

} // namespace Kavo::Models
