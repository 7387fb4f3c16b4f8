#pragma once

#include "packages/Package.h"

#include <QHash>
#include <QVector>

namespace Kavo::Models {

/// The packages on offer, in the order of the catalogue file. Main thread.
///
/// clear() empties the offer while a new catalogue is on its way. Work that is going on meanwhile
/// can still look up what it depends on: resolve() answers from the packages that were cleared
/// until replace() brings new ones.
class Catalogue final
{
public:
    const PackageList &packages() const { return m_offered ? m_packages : m_none; }

    /// The same, but also while a new catalogue is on its way.
    const PackageList &known() const { return m_packages; }

    void clear() { m_offered = false; }
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
    QHash<int, QVector<int>> m_positions;  ///< id -> where its packages stand
    QHash<int, QVector<int>> m_dependents; ///< id -> where the packages stand that name it
};

} // namespace Kavo::Models
