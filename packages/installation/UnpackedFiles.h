#pragma once

#include "core/ArchiveEntry.h"

#include <QString>
#include <QStringList>

namespace Kavo {

/// The entries that an archive is about to add to a folder, so that a failed unpacking can be
/// undone. May be used on any thread.
class UnpackedFiles final
{
public:
    /// To be created right before unpacking; existing entries are not touched. The entries must not
    /// leave `folder`, which is `root` or a folder in it. Missing folders between the two are
    /// undone as well.
    UnpackedFiles(const Extractors::ArchiveListing &listing, const QString &folder,
                  const QString &root);

    /// Removes the added files, and the added folders that contain nothing else.
    void takeAway() const;

private:
    QStringList m_files;
    QStringList m_folders; ///< each after its parent folders
};

} // namespace Kavo
