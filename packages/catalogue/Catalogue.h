#pragma once

#include "packages/catalogue/CatalogueIndex.h"
#include "packages/model/Package.h"

#include <QVector>

namespace Kavo::Models {

/// The available packages, in the order of the catalogue file. Main thread.
///
/// clear() empties the catalogue while a new one is loaded. Running work can still look up its
/// dependencies: until the new packages are taken in, resolve() returns those that were cleared.
class Catalogue final
{
public:
    const PackageList &packages() const { return m_offered ? m_packages : m_none; }

    /// All packages, also while a new catalogue is loaded.
    const PackageList &known() const { return m_packages; }

    void clear() { m_offered = false; }
    /// Takes in new packages with their index and returns the previous ones. The new packages stay
    /// hidden until offer() if the catalogue was cleared.
    PackageList renew(const PackageList &packages, const CatalogueIndex &index);
    /// Makes the packages available that were taken in.
    void offer() { m_offered = true; }
    /// Takes in packages and makes them available.
    void replace(const PackageList &packages);

    /// The first available package with this id, or null.
    PackagePointer find(int id) const;
    /// The first package with this id, also while a new catalogue is loaded, or null.
    PackagePointer resolve(int id) const;

    /// The available packages with one of these ids, in catalogue order, each once.
    PackageList withIds(const QVector<int> &ids) const;

    /// The available packages with a dependency entry for this id in any version, in catalogue
    /// order.
    PackageList mentioning(int id) const;

private:
    PackageList at(QVector<int> positions) const;

    PackageList m_packages;
    PackageList m_none;
    bool m_offered = true;
    CatalogueIndex m_index;
};

} // namespace Kavo::Models
