#pragma once

#include "packages/model/Package.h"

#include <QHash>
#include <QVector>

namespace Kavo::Models {

/// Where in a list the packages of an id stand, and those that name it. Made package by package, in
/// the order of the list.
class CatalogueIndex final
{
public:
    void add(const Package &package);

    /// Of all packages with this id, in order.
    QVector<int> positions(int id) const { return m_positions.value(id); }
    /// Of all packages of which some version has a dependency entry with this id, in order.
    QVector<int> dependents(int id) const { return m_dependents.value(id); }

private:
    int m_count = 0;
    QHash<int, QVector<int>> m_positions;
    QHash<int, QVector<int>> m_dependents;
};

} // namespace Kavo::Models
