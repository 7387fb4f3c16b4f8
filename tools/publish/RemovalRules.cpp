#include "tools/publish/RemovalRules.h"

#include "tools/check/ClientVersion.h"

#include <algorithm>
#include <utility>

namespace Kavo::Tools {

namespace {

using Kind = Extractors::ArchiveEntry::Kind;

const QLatin1Char Slash('/');

QString folderOf(const QString &path)
{
    return path.section(Slash, 0, -2);
}

bool isIn(const QString &folder, const QString &path)
{
    return path.startsWith(folder + Slash, Qt::CaseInsensitive);
}

/// The add-on's folder of a path: the one directly below the folder for all add-ons.
QString folderBelow(const QString &common, const QString &path)
{
    if (!isIn(common, path))
        return QString();
    const int end = path.indexOf(Slash, common.size() + 1);
    return end < 0 ? QString() : path.left(end);
}

/// The files that an archive installs, without folders.
QStringList filesOf(const Extractors::ArchiveListing &listing, const QString &extract)
{
    QStringList files;
    // A rule must not begin with a slash.
    const QString folder = extract.isEmpty() ? QString() : extract + Slash;
    for (const Extractors::ArchiveEntry &entry : listing.entries) {
        const QString path = ClientVersion::placeOf(folder + entry.path);
        if (entry.kind != Kind::FOLDER && !path.isEmpty())
            files.append(path);
    }
    return files;
}

bool isCovered(const QStringList &entries, const QString &path)
{
    return std::any_of(entries.cbegin(), entries.cend(), [&path](const QString &entry) {
        return entry == path || path.startsWith(entry + Slash);
    });
}

} // namespace

RemovalRules::RemovalRules(const PackagePaths &others, QStringList removedBefore)
    : m_others(others)
    , m_before(std::move(removedBefore))
{}

QStringList RemovalRules::entriesFor(const Extractors::ArchiveListing &listing,
                                     const QString &extract)
{
    const QStringList files = filesOf(listing, extract);
    findFolders(files);
    QStringList entries;
    QSet<QString> known;
    for (const QString &file : files) {
        const QString folder = ownFolderAround(file);
        const QString &entry = folder.isEmpty() ? file : folder;
        if (folder.isEmpty())
            noteUndecided(file);
        if (!known.contains(entry))
            entries.append(entry);
        known.insert(entry);
    }
    for (const QString &entry : qAsConst(m_before)) {
        if (!known.contains(entry) && !isCovered(entries, entry) && !m_others.reach(entry))
            entries.append(entry);
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

void RemovalRules::findFolders(const QStringList &files)
{
    for (const QString &file : files) {
        const QString folder = folderShownBy(file);
        if (!folder.isEmpty() && !m_folders.contains(folder) && !m_others.reach(folder))
            m_folders.insert(folder);
    }
    for (const QString &entry : qAsConst(m_before)) {
        if (!m_others.reach(entry))
            m_folders.insert(entry);
    }
}

QString RemovalRules::folderShownBy(const QString &file) const
{
    const QString name = file.section(Slash, -1).toLower();
    if (name.endsWith(QLatin1String(".xpl")))
        return folderBelow(QStringLiteral("Resources/plugins"), file);
    if (name.endsWith(QLatin1String(".acf")))
        return isIn(QStringLiteral("Aircraft"), file) ? ClientVersion::placeOf(folderOf(file))
                                                      : QString();
    const QString scenery = folderBelow(QStringLiteral("Custom Scenery"), file);
    if (scenery.isEmpty())
        return QString();
    const QString inside = file.mid(scenery.size() + 1).toLower();
    const bool isLoaded = inside == QLatin1String("library.txt") ||
                          inside.startsWith(QLatin1String("earth nav data/"));
    return isLoaded ? scenery : QString();
}

/// The outermost folder.
QString RemovalRules::ownFolderAround(const QString &file) const
{
    for (int end = file.indexOf(Slash); end >= 0; end = file.indexOf(Slash, end + 1)) {
        if (m_folders.contains(file.left(end)))
            return file.left(end);
    }
    return QString();
}

void RemovalRules::noteUndecided(const QString &file)
{
    for (const char *common : {"Resources/plugins", "Custom Scenery", "Aircraft"}) {
        const QString folder = folderBelow(QLatin1String(common), file);
        if (!folder.isEmpty() && !m_undecided.contains(folder) && !m_others.reach(folder))
            m_undecided.append(folder);
    }
}

} // namespace Kavo::Tools
