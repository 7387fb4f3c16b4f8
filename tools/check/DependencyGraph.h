#pragma once

#include "tools/check/CatalogueView.h"

#include <vector>

namespace Kavo::Tools {

/// The dependencies between the newest versions of packages, which clients install together with a
/// version. Packages are indices in the catalogue.
class DependencyGraph final
{
public:
    explicit DependencyGraph(const CatalogueView &catalogue);

    /// The packages that the newest version of a package depends on, in the order of its entries.
    const std::vector<int> &needs(int package) const { return m_needs[index(package)]; }

    /// All groups of packages that depend on each other.
    std::vector<std::vector<int>> circles() const;

    /// A path of dependencies from one package to another, including both; empty if there is none.
    /// A path from a package to itself is a circle.
    std::vector<int> way(int from, int to) const;

    /// Whether the newest version of a package can be installed if no package is installed yet.
    bool isInstallable(int package) const { return m_isInstallable[index(package)]; }

private:
    static std::size_t index(int package) { return static_cast<std::size_t>(package); }
    void findInstallable(const CatalogueView &catalogue);
    bool ownEntriesAreMet(const CatalogueView &catalogue, const PackageView &package) const;

    std::vector<std::vector<int>> m_needs;
    /// Strongly connected components, each after those that it depends on.
    std::vector<std::vector<int>> m_components;
    std::vector<bool> m_isNeeded;
    std::vector<bool> m_isInstallable;
    /// The remaining number of packages that may be visited to find paths. A hostile catalogue must
    /// not block the check.
    mutable int m_steps = 2'000'000;
};

} // namespace Kavo::Tools
