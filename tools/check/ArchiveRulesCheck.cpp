#include "tools/check/ArchiveRulesCheck.h"

#include "tools/check/ClientVersion.h"

#include <QSet>

#include <algorithm>

namespace Kavo::Tools {

namespace {

using Kind = ShippedFiles::Kind;

const JsonNode *removals(const VersionView &version)
{
    return version.entries(QLatin1String("uninstall"), QLatin1String("remove"));
}

const JsonNode *kept(const VersionView &version)
{
    return version.entries(QLatin1String("install"), QLatin1String("preserve"));
}

const JsonNode *backups(const VersionView &version)
{
    return version.entries(QLatin1String("install"), QLatin1String("backup"));
}

/// The paths that a removal rule deletes.
class Removed final
{
public:
    explicit Removed(const QStringList &places)
    {
        for (const QString &place : places)
            m_ends.insert(m_tree.add(place));
    }

    /// Whether the path or one of its parents is removed.
    bool takes(const QString &place) const
    {
        int node = PathTree::Root;
        for (const QString &name : place.split(QLatin1Char('/'))) {
            node = m_tree.find(node, name);
            if (node == PathTree::None)
                return false;
            if (m_ends.contains(node))
                return true;
        }
        return false;
    }

private:
    PathTree m_tree;
    QSet<int> m_ends;
};

} // namespace

ArchiveRulesCheck::ArchiveRulesCheck(const PackageView &package, Findings &findings)
    : m_findings(findings)
{
    for (const VersionView &version : package.versions) {
        if (version.node->isObject())
            collect(version);
    }
}

void ArchiveRulesCheck::collect(const VersionView &version)
{
    // A file to preserve is created by the add-on, and an original belongs to the simulator.
    PathTree others;
    for (const QString &place :
         ClientVersion::placesIn(kept(version)) + ClientVersion::placesIn(backups(version)))
        others.add(place);
    for (const JsonNode &node : JsonChildren(removals(version))) {
        const QString place = ClientVersion::placeOf(node.text());
        if (!place.isEmpty() && others.find(place) == PathTree::None)
            m_unmet.push_back({Rule::REMOVE_NAMES_NOTHING, &node, place});
    }
    // An original that the add-on overwrites is restored when the add-on's file is removed.
    const Removed removed(ClientVersion::placesIn(removals(version)));
    for (const JsonNode &node : JsonChildren(backups(version))) {
        const QString place = ClientVersion::placeOf(node.text());
        if (!place.isEmpty() && !removed.takes(place))
            m_unmet.push_back({Rule::BACKUP_NOT_SHIPPED, &node, place});
    }
}

void ArchiveRulesCheck::check(const VersionView &version, const ShippedFiles &shipped)
{
    checkKept(version, shipped);
    checkBackups(version, shipped);
    checkLeftBehind(version, shipped);
}

void ArchiveRulesCheck::remember(const ShippedFiles &shipped)
{
    m_unmet.erase(std::remove_if(m_unmet.begin(), m_unmet.end(),
                                 [&shipped](const Entry &entry) {
                                     return shipped.kindOf(entry.place) != Kind::NOTHING;
                                 }),
                  m_unmet.end());
}

void ArchiveRulesCheck::finish()
{
    for (const Entry &entry : m_unmet)
        m_findings.add(entry.rule, *entry.node,
                       QStringLiteral("No archive of the package brings \"%1\".").arg(entry.place));
}

void ArchiveRulesCheck::checkKept(const VersionView &version, const ShippedFiles &shipped)
{
    for (const JsonNode &node : JsonChildren(kept(version))) {
        const QString place = ClientVersion::placeOf(node.text());
        switch (place.isEmpty() ? Kind::NOTHING : shipped.kindOf(place)) {
        case Kind::NOTHING:
            break;
        case Kind::FOLDER:
            m_findings.add(Rule::PRESERVE_FOLDER, node,
                           QStringLiteral("\"%1\" is a folder.").arg(place));
            break;
        case Kind::FILE:
            m_findings.add(Rule::PRESERVE_SHIPPED, node,
                           QStringLiteral("The archive brings \"%1\" itself.").arg(place));
            break;
        }
    }
}

void ArchiveRulesCheck::checkBackups(const VersionView &version, const ShippedFiles &shipped)
{
    for (const JsonNode &node : JsonChildren(backups(version))) {
        const QString place = ClientVersion::placeOf(node.text());
        if (!place.isEmpty() && shipped.kindOf(place) == Kind::FOLDER)
            m_findings.add(Rule::BACKUP_FOLDER, node,
                           QStringLiteral("\"%1\" is a folder.").arg(place));
    }
}

/// A version without any removal rule is reported without its archive.
void ArchiveRulesCheck::checkLeftBehind(const VersionView &version, const ShippedFiles &shipped)
{
    const JsonNode *const list = removals(version);
    if (!list || !list->firstChild)
        return;
    // The original of a backup replaces the add-on's file.
    const SomePaths left =
        shipped.without(ClientVersion::placesIn(list) + ClientVersion::placesIn(backups(version)));
    if (!left.isEmpty())
        m_findings.add(Rule::ARCHIVE_LEFT_BEHIND, *list,
                       QStringLiteral("No entry removes ") + left.text() + QLatin1Char('.'));
}

} // namespace Kavo::Tools
