#include "packages/catalogue/CatalogueIndex.h"

#include "packages/model/DependencyEntry.h"

#include <QSet>

namespace Kavo::Models {

namespace {

QSet<int> dependencyIds(const Package &package)
{
    QSet<int> ids;
    for (const PackageVersionPointer &version : package.versions()) {
        for (const QString &entry : version->depends) {
            // An empty entry is fatal only when its version is asked for.
            if (!entry.isEmpty())
                ids.insert(DependencyEntry::parse(entry).packageId);
        }
    }
    return ids;
}

} // namespace

void CatalogueIndex::add(const Package &package)
{
    m_positions[package.id()].append(m_count);
    const QSet<int> ids = dependencyIds(package);
    for (const int id : ids)
        m_dependents[id].append(m_count);
    ++m_count;
}

} // namespace Kavo::Models
