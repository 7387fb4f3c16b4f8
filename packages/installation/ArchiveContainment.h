#pragma once

#include "core/ArchiveEntry.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo {

/// Checks whether all entries of an archive stay in the folder that it is unpacked into, without
/// relying on the unpacking program. May be used on any thread.
class ArchiveContainment final
{
public:
    /// `folder` is the folder to unpack into. Existing links there are the user's and are followed,
    /// but a link of the archive must not lead back through them.
    ArchiveContainment(const Extractors::ArchiveListing &listing, QString folder);

    /// Returns the path of an entry that would leave the folder, or nothing. Such entries are
    /// absolute names, names with "..", devices, links with a target outside, and entries below a
    /// link of the archive.
    std::optional<QString> wayOut() const;

private:
    bool leadsOut(const Extractors::ArchiveEntry &entry) const;
    bool goesThroughLink(const Extractors::ArchiveEntry &entry) const;
    bool targetLeadsOut(const QStringList &base, const QString &target) const;
    bool isLinkOnDisk(const QStringList &parts) const;

    const Extractors::ArchiveListing &m_listing;
    QString m_folder;
    QHash<QString, QString> m_links;   ///< targets by clean path
    QHash<QString, int> m_linksByPath; ///< number of entries with the path of a link
};

} // namespace Kavo
