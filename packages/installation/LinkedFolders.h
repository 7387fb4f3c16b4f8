#pragma once

#include "core/ArchiveEntry.h"

#include <QString>
#include <QStringList>

namespace Kavo {

/// Folders of an archive that the user has replaced by links to folders, for example to keep
/// scenery on another disk. 7-Zip unpacks everything through such a link, but ends with an error,
/// because it cannot create the folder. May be used on any thread.
class LinkedFolders final
{
public:
    /// To be created before unpacking; `folder` is the folder to unpack into.
    LinkedFolders(const Extractors::ArchiveListing &listing, const QString &folder);

    /// Whether 7-Zip complained of nothing but these links, and every file of the archive exists
    /// with its size; this is logged. `complaints` are the lines that 7-Zip wrote to standard
    /// error.
    bool explain(const QStringList &complaints) const;

private:
    bool isExplained(const QString &complaint) const;
    bool areFilesThere() const;

    const Extractors::ArchiveListing &m_listing;
    QString m_folder;
    QStringList m_links; ///< absolute paths
};

} // namespace Kavo
