#include "tools/publish/PackagePaths.h"

#include "tools/check/ClientVersion.h"

namespace Kavo::Tools {

QString extractFolderOf(const VersionView &version)
{
    const JsonNode *const install = version.node->member(QLatin1String("install"));
    return ClientVersion::pathOf(
        readText(install ? install->member(QLatin1String("extract")) : nullptr));
}

PackagePaths::PackagePaths(const CatalogueView &catalogue, int without)
{
    const auto &packages = catalogue.packages();
    for (std::size_t position = 0; position < packages.size(); ++position) {
        if (static_cast<int>(position) == without)
            continue;
        for (const VersionView &version : packages[position].versions)
            add(version);
    }
}

void PackagePaths::add(const VersionView &version)
{
    const QStringList removed = ClientVersion::placesIn(
        version.entries(QLatin1String("uninstall"), QLatin1String("remove")));
    const QStringList named = QStringList(extractFolderOf(version)) +
                              ClientVersion::placesIn(version.entries(QLatin1String("install"),
                                                                      QLatin1String("preserve"))) +
                              ClientVersion::placesIn(version.entries(QLatin1String("install"),
                                                                      QLatin1String("backup"))) +
                              removed;
    for (const QString &path : named)
        m_named.insert(path.toLower());
    for (const QString &path : removed)
        m_removed.insert(path.toLower());
}

bool PackagePaths::reach(const QString &path) const
{
    const QString wanted = path.toLower();
    if (m_named.count(wanted) > 0)
        return true;
    const QString folder = wanted + QLatin1Char('/');
    const auto inside = m_named.lower_bound(folder);
    if (inside != m_named.cend() && inside->startsWith(folder))
        return true;
    for (int end = wanted.indexOf(QLatin1Char('/')); end >= 0;
         end = wanted.indexOf(QLatin1Char('/'), end + 1)) {
        if (m_removed.contains(wanted.left(end)))
            return true;
    }
    return false;
}

} // namespace Kavo::Tools
