#include "packages/Catalogue.h"

#include "packages/DependencyEntry.h"

#include <QSet>

#include <algorithm>

namespace Kavo::Models {

namespace {

QSet<int> dependencyIds(const Package &package)
{
    QSet<int> ids;
    for (const PackageVersionPointer &version : package.versions()) {
        for (const QString &entry : version->depends) {
            // An empty entry is fatal only to those who ask about its version.
            if (!entry.isEmpty())
                ids.insert(DependencyEntry::parse(entry).packageId);
        }
    }
    return ids;
}

} // namespace

void Catalogue::replace(const PackageList &packages)
{
    m_packages = packages;
    m_offered = true;
    m_positions.clear();
    m_dependents.clear();
    for (int position = 0; position < packages.size(); ++position) {
        const Package &package = *packages.at(position);
        m_positions[package.id()].append(position);
        for (const int id : dependencyIds(package))
            m_dependents[id].append(position);
    }
}

PackagePointer Catalogue::find(int id) const
{
    return m_offered ? resolve(id) : PackagePointer();
}

PackagePointer Catalogue::resolve(int id) const
{
    const auto found = m_positions.constFind(id);
    return found == m_positions.cend() ? PackagePointer() : m_packages.at(found->first());
}

PackageList Catalogue::withIds(const QVector<int> &ids) const
{
    // Each id once: a catalogue may name one over and over that very many packages share.
    const QSet<int> wanted(ids.cbegin(), ids.cend());
    QVector<int> positions;
    for (const int id : wanted)
        positions += m_positions.value(id);
    return at(positions);
}

PackageList Catalogue::mentioning(int id) const
{
    return at(m_dependents.value(id));
}

PackageList Catalogue::at(QVector<int> positions) const
{
    if (!m_offered)
        return {};
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    PackageList found;
    found.reserve(positions.size());
    for (const int position : positions)
        found.append(m_packages.at(position));
    return found;
}

} // namespace Kavo::Models
