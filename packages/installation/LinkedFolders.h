#pragma once

#include "core/ArchiveEntry.h"

#include <QString>
#include <QStringList>

namespace Kavo {

/// Folders of an archive in whose place the user has put a link to a folder, as those do who keep
/// scenery on another disk. 7-Zip unpacks everything through such a link, but ends with an error,
/// because it cannot make the folder. Callable from any thread.
class LinkedFolders final
{
public:
    /// To be made before the unpacking, with the folder to unpack into.
    LinkedFolders(const Extractors::ArchiveListing &listing, const QString &folder);

    /// Whether these links, and nothing else, are what an unpacking complains of, and every file of
    /// the archive is there with its size; the log then tells of it. `complaints` are the lines
    /// that 7-Zip wrote to its standard error.
    bool explain(const QStringList &complaints) const;

private:
    bool isExplained(const QString &complaint) const;
    bool areFilesThere() const;

    const Extractors::ArchiveListing &m_listing;
    QString m_folder;
    QStringList m_links; ///< absolute
};

} // namespace Kavo
