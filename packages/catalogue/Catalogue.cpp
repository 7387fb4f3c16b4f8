#include "packages/catalogue/Catalogue.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace Kavo::Models {

PackageList Catalogue::renew(const PackageList &packages, const CatalogueIndex &index)
{
    m_index = index;
    return std::exchange(m_packages, packages);
}

void Catalogue::replace(const PackageList &packages)
{
    CatalogueIndex index;
    for (const PackagePointer &package : packages)
        index.add(*package);
    renew(packages, index);
    offer();
}

PackagePointer Catalogue::find(int id) const
{
    return m_offered ? resolve(id) : PackagePointer();
}

PackagePointer Catalogue::resolve(int id) const
{
    const QVector<int> positions = m_index.positions(id);
    return positions.isEmpty() ? PackagePointer() : m_packages.at(positions.first());
}

PackageList Catalogue::withIds(const QVector<int> &ids) const
{
    // Each id is looked up once, because a catalogue may repeat an id that very many packages
    // share.
    const QSet<int> wanted(ids.cbegin(), ids.cend());
    QVector<int> positions;
    for (const int id : wanted)
        positions += m_index.positions(id);
    return at(positions);
}

PackageList Catalogue::mentioning(int id) const
{
    return at(m_index.dependents(id));
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
