#pragma once

#include "packages/catalogue/CatalogueIndex.h"
#include "packages/model/Package.h"

#include <QVector>

namespace Kavo::Models {

/// The packages on offer, in the order of the catalogue file. Main thread.
///
/// clear() empties the offer while a new catalogue is on its way. Work that is going on meanwhile
/// can still look up what it depends on: resolve() answers from the packages that were cleared
/// until new ones are taken in.
class Catalogue final
{
public:
    const PackageList &packages() const { return m_offered ? m_packages : m_none; }

    /// The same, but also while a new catalogue is on its way.
    const PackageList &known() const { return m_packages; }

    void clear() { m_offered = false; }
    /// Takes in new packages with their index. They are not yet on offer when nothing is. Returns
    /// those before them.
    PackageList renew(const PackageList &packages, const CatalogueIndex &index);
    /// Puts on offer what was taken in.
    void offer() { m_offered = true; }
    /// Both at once.
    void replace(const PackageList &packages);

    /// First package on offer with this id, or null.
    PackagePointer find(int id) const;
    /// Same, but also while a new catalogue is on its way.
    PackagePointer resolve(int id) const;

    /// Packages on offer with one of these ids, in catalogue order, each once.
    PackageList withIds(const QVector<int> &ids) const;

    /// Packages on offer of which some version has a dependency entry with this id, in catalogue
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
