#pragma once

#include "core/ArchiveEntry.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo {

/// Whether everything in an archive stays in the folder that it is unpacked into, whatever care the
/// unpacking program takes. Callable from any thread.
class ArchiveContainment final
{
public:
    /// `folder` is where the archive is going to be unpacked. Links that stand there already are
    /// the user's own and are followed, but a link of the archive cannot go back through them.
    ArchiveContainment(const Extractors::ArchiveListing &listing, QString folder);

    /// The path of an entry that would lead out, or nothing. That is one with an absolute name or
    /// "..", a device, a link whose target lies outside, and an entry that goes through a link of
    /// the archive.
    std::optional<QString> wayOut() const;

private:
    bool leadsOut(const Extractors::ArchiveEntry &entry) const;
    bool goesThroughLink(const Extractors::ArchiveEntry &entry) const;
    bool targetLeadsOut(const QStringList &base, const QString &target) const;
    bool isLinkOnDisk(const QStringList &parts) const;

    const Extractors::ArchiveListing &m_listing;
    QString m_folder;
    QHash<QString, QString> m_links;   ///< target by clean path
    QHash<QString, int> m_linksByPath; ///< how many entries have the path of a link
};

} // namespace Kavo
