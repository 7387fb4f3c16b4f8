#include "tools/check/DependencyGraph.h"

#include "packages/model/DependencyEntry.h"
#include "tools/check/StronglyConnected.h"

#include <algorithm>

namespace Kavo::Tools {

using Models::DependencyEntry;

namespace {

/// The path to `last`, followed by `to`.
std::vector<int> unwound(const QHash<int, int> &before, int from, int last, int to)
{
    std::vector<int> way{to};
    for (int step = last; step != from; step = before.value(step))
        way.push_back(step);
    way.push_back(from);
    std::reverse(way.begin(), way.end());
    return way;
}

} // namespace

DependencyGraph::DependencyGraph(const CatalogueView &catalogue)
    : m_isNeeded(catalogue.packages().size(), false)
{
    for (const PackageView &package : catalogue.packages()) {
        std::vector<int> needed;
        const VersionView *const newest = package.newestVersion();
        for (const JsonNode &entry :
             JsonChildren(newest ? arrayIn(newest->node, QLatin1String("depends")) : nullptr)) {
            const QString text = entry.text();
            const int position =
                text.isEmpty() ? -1 : catalogue.find(DependencyEntry::parse(text).packageId);
            if (position < 0)
                continue;
            needed.push_back(position);
            m_isNeeded[index(position)] = true;
        }
        m_needs.push_back(std::move(needed));
    }
    m_components = stronglyConnected(m_needs);
    findInstallable(catalogue);
}

void DependencyGraph::findInstallable(const CatalogueView &catalogue)
{
    m_isInstallable.assign(m_needs.size(), true);
    for (const std::vector<int> &component : m_components) {
        const bool isGood = std::all_of(component.cbegin(), component.cend(), [&](int package) {
            const std::vector<int> &needed = needs(package);
            return ownEntriesAreMet(catalogue, catalogue.packages()[index(package)]) &&
                   std::all_of(needed.cbegin(), needed.cend(),
                               [this](int other) { return isInstallable(other); });
        });
        for (const int package : component)
            m_isInstallable[index(package)] = isGood;
    }
}

bool DependencyGraph::ownEntriesAreMet(const CatalogueView &catalogue,
                                       const PackageView &package) const
{
    const VersionView *const newest = package.newestVersion();
    if (!newest)
        return false;
    for (const JsonNode &entry : JsonChildren(arrayIn(newest->node, QLatin1String("depends")))) {
        const QString text = entry.text();
        if (text.isEmpty())
            return false;
        const DependencyEntry dependency = DependencyEntry::parse(text);
        const int position = catalogue.find(dependency.packageId);
        const VersionView *const offered =
            position < 0 ? nullptr : catalogue.packages()[index(position)].newestVersion();
        if (!offered || !dependency.isMetBy(offered->version))
            return false;
    }
    return true;
}

std::vector<std::vector<int>> DependencyGraph::circles() const
{
    std::vector<std::vector<int>> circles;
    std::copy_if(m_components.cbegin(), m_components.cend(), std::back_inserter(circles),
                 [](const std::vector<int> &component) { return component.size() > 1; });
    return circles;
}

std::vector<int> DependencyGraph::way(int from, int to) const
{
    if (!m_isNeeded[index(to)])
        return {};
    QHash<int, int> before;
    std::vector<int> ahead{from};
    for (std::size_t at = 0; at < ahead.size() && m_steps > 0; ++at, --m_steps) {
        for (const int needed : needs(ahead[at])) {
            const bool isNew = needed != from && !before.contains(needed);
            if (isNew) {
                before.insert(needed, ahead[at]);
                ahead.push_back(needed);
            }
            if (needed == to)
                return unwound(before, from, ahead[at], to);
        }
    }
    return {};
}

} // namespace Kavo::Tools
