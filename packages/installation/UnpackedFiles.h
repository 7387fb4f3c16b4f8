#pragma once

#include "core/ArchiveEntry.h"

#include <QString>
#include <QStringList>

namespace Kavo {

/// What an archive is going to add to a folder, so that an unpacking that has failed can be undone.
/// Callable from any thread.
class UnpackedFiles final
{
public:
    /// To be made right before the unpacking: what stands there by then is not touched. The entries
    /// must not lead out of `folder`, which lies in `root` or is it; the folders between the two
    /// are undone as well when they are yet to be made.
    UnpackedFiles(const Extractors::ArchiveListing &listing, const QString &folder,
                  const QString &root);

    /// Removes what the unpacking has added: files, and folders in which nothing else stands.
    void takeAway() const;

private:
    QStringList m_files;
    QStringList m_folders; ///< each after those in which it lies
};

} // namespace Kavo
