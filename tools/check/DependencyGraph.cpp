#include "tools/check/DependencyGraph.h"

#include "packages/model/DependencyEntry.h"

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
    findComponents();
    findInstallable(catalogue);
}

/// Tarjan's algorithm with an explicit stack instead of recursion, because a chain may be as long
/// as the catalogue.
void DependencyGraph::findComponents()
{
    struct Visit
    {
        int package;
        std::size_t next;
    };
    const std::size_t count = m_needs.size();
    std::vector<int> order(count, -1);
    std::vector<int> lowest(count, 0);
    std::vector<bool> isOpen(count, false);
    std::vector<int> open;
    std::vector<Visit> visits;
    int counter = 0;
    const auto enter = [&](int package) {
        order[index(package)] = lowest[index(package)] = counter++;
        isOpen[index(package)] = true;
        open.push_back(package);
        visits.push_back({package, 0});
    };
    const auto close = [&](int package) {
        std::vector<int> component;
        do {
            component.push_back(open.back());
            isOpen[index(open.back())] = false;
            open.pop_back();
        } while (component.back() != package);
        std::sort(component.begin(), component.end());
        m_components.push_back(std::move(component));
    };
    for (std::size_t start = 0; start < count; ++start) {
        if (order[start] < 0)
            enter(static_cast<int>(start));
        while (!visits.empty()) {
            const int package = visits.back().package;
            int &low = lowest[index(package)];
            if (visits.back().next < needs(package).size()) {
                const int needed = needs(package)[visits.back().next++];
                if (order[index(needed)] < 0)
                    enter(needed);
                else if (isOpen[index(needed)])
                    low = std::min(low, order[index(needed)]);
                continue;
            }
            visits.pop_back();
            if (low == order[index(package)])
                close(package);
            if (!visits.empty()) {
                int &above = lowest[index(visits.back().package)];
                above = std::min(above, lowest[index(package)]);
            }
        }
    }
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
