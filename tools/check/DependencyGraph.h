#pragma once

#include "tools/check/CatalogueView.h"

#include <vector>

namespace Kavo::Tools {

/// What the newest versions of packages need of each other, which is what clients install along
/// with a version. Packages are positions in the catalogue.
class DependencyGraph final
{
public:
    explicit DependencyGraph(const CatalogueView &catalogue);

    /// The packages that the newest version of this one needs, in the order of its entries.
    const std::vector<int> &needs(int package) const { return m_needs[index(package)]; }

    /// Every group of packages that need each other.
    std::vector<std::vector<int>> circles() const;

    /// A way from one package to another along what each needs, both ends included; empty when
    /// there is none. One from a package to itself is a circle.
    std::vector<int> way(int from, int to) const;

    /// Whether the newest version of a package can be installed where nothing is installed yet.
    bool isInstallable(int package) const { return m_isInstallable[index(package)]; }

private:
    static std::size_t index(int package) { return static_cast<std::size_t>(package); }
    void findComponents();
    void findInstallable(const CatalogueView &catalogue);
    bool ownEntriesAreMet(const CatalogueView &catalogue, const PackageView &package) const;

    std::vector<std::vector<int>> m_needs;
    /// Strongly connected components: each stands behind those that it needs.
    std::vector<std::vector<int>> m_components;
    std::vector<bool> m_isNeeded;
    std::vector<bool> m_isInstallable;
    /// How many packages may still be looked at to find ways. The catalogue decides how many there
    /// are, and a hostile one must not hold the check.
    mutable int m_steps = 2'000'000;
};

} // namespace Kavo::Tools
