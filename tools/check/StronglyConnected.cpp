#include "tools/check/StronglyConnected.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Kavo::Tools {

namespace {

constexpr int NotVisited = -1;

std::size_t index(int node)
{
    return static_cast<std::size_t>(node);
}

/// Tarjan's algorithm with an explicit stack instead of recursion.
class Search final
{
public:
    explicit Search(const std::vector<std::vector<int>> &edges)
        : m_edges(edges)
        , m_order(edges.size(), NotVisited)
        , m_lowest(edges.size(), 0)
        , m_isOpen(edges.size(), false)
    {}

    std::vector<std::vector<int>> run()
    {
        for (std::size_t start = 0; start < m_edges.size(); ++start) {
            if (m_order[start] == NotVisited)
                enter(static_cast<int>(start));
            while (!m_visits.empty())
                step();
        }
        return std::move(m_components);
    }

private:
    struct Visit
    {
        int node;
        std::size_t nextEdge;
    };

    void enter(int node)
    {
        m_order[index(node)] = m_lowest[index(node)] = m_count++;
        m_isOpen[index(node)] = true;
        m_open.push_back(node);
        m_visits.push_back({node, 0});
    }

    /// Follows the next edge of the innermost node, or leaves that node after its last edge.
    void step()
    {
        Visit &visit = m_visits.back();
        const std::vector<int> &edges = m_edges[index(visit.node)];
        if (visit.nextEdge == edges.size()) {
            leave();
            return;
        }
        const int from = visit.node;
        const int to = edges[visit.nextEdge++];
        if (m_order[index(to)] == NotVisited)
            enter(to);
        else if (m_isOpen[index(to)])
            lower(from, m_order[index(to)]);
    }

    void leave()
    {
        const int node = m_visits.back().node;
        m_visits.pop_back();
        if (m_lowest[index(node)] == m_order[index(node)])
            close(node);
        if (!m_visits.empty())
            lower(m_visits.back().node, m_lowest[index(node)]);
    }

    void lower(int node, int order)
    {
        int &lowest = m_lowest[index(node)];
        lowest = std::min(lowest, order);
    }

    /// All open nodes from this one on are a component.
    void close(int node)
    {
        const auto begin = std::prev(std::find(m_open.rbegin(), m_open.rend(), node).base());
        std::vector<int> component(begin, m_open.end());
        m_open.erase(begin, m_open.end());
        for (const int member : component)
            m_isOpen[index(member)] = false;
        std::sort(component.begin(), component.end());
        m_components.push_back(std::move(component));
    }

    const std::vector<std::vector<int>> &m_edges;
    int m_count = 0;
    /// In which order nodes were visited, and for each the earliest open node that it reaches.
    std::vector<int> m_order;
    std::vector<int> m_lowest;
    /// Nodes whose component is not known yet, in the order of their visits.
    std::vector<int> m_open;
    std::vector<bool> m_isOpen;
    std::vector<Visit> m_visits;
    std::vector<std::vector<int>> m_components;
};

} // namespace

std::vector<std::vector<int>> stronglyConnected(const std::vector<std::vector<int>> &edges)
{
    return Search(edges).run();
}

} // namespace Kavo::Tools
