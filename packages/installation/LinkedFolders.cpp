#include "packages/installation/LinkedFolders.h"

#include "core/Log.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace Kavo {

using Extractors::ArchiveEntry;
using Kind = ArchiveEntry::Kind;

LinkedFolders::LinkedFolders(const Extractors::ArchiveListing &listing, const QString &folder)
    : m_listing(listing)
    , m_folder(QDir::cleanPath(folder) + QLatin1Char('/'))
{
    for (const ArchiveEntry &entry : listing.entries) {
        if (entry.kind != Kind::FOLDER)
            continue;
        const QFileInfo place(QDir::cleanPath(m_folder + entry.path));
        if (place.isSymLink() && place.isDir())
            m_links.append(place.filePath());
    }
}

bool LinkedFolders::explain(const QStringList &complaints) const
{
    const bool explained = !m_links.isEmpty() && !complaints.isEmpty() &&
                           std::all_of(complaints.cbegin(), complaints.cend(),
                                       [this](const QString &line) { return isExplained(line); }) &&
                           areFilesThere();
    if (explained)
        logLine(QStringLiteral("Unpacked through links : ") + m_links.join(QLatin1String(", ")));
    return explained;
}

bool LinkedFolders::isExplained(const QString &complaint) const
{
    return complaint.startsWith(QLatin1String("ERROR: Cannot create folder : ")) &&
           std::any_of(m_links.cbegin(), m_links.cend(), [&complaint](const QString &link) {
               return complaint.endsWith(QStringLiteral(" : ") + link);
           });
}

bool LinkedFolders::areFilesThere() const
{
    const auto &entries = m_listing.entries;
    return std::all_of(entries.cbegin(), entries.cend(), [this](const ArchiveEntry &entry) {
        const QFileInfo file(m_folder + entry.path);
        return entry.kind != Kind::FILE || (file.isFile() && file.size() == entry.size);
    });
}

} // namespace Kavo
