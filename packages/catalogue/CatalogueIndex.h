#pragma once

#include "packages/model/Package.h"

#include <QHash>
#include <QVector>

namespace Kavo::Models {

/// The positions in a list of the packages with an id, and of those that depend on it. Built
/// package by package in the order of the list.
class CatalogueIndex final
{
public:
    void add(const Package &package);

    /// The positions of all packages with this id, in order.
    QVector<int> positions(int id) const { return m_positions.value(id); }
    /// The positions of all packages with a dependency entry for this id in any version, in order.
    QVector<int> dependents(int id) const { return m_dependents.value(id); }

private:
    int m_count = 0;
    QHash<int, QVector<int>> m_positions;
    QHash<int, QVector<int>> m_dependents;
};

} // namespace Kavo::Models
