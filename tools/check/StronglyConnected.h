#pragma once

#include <vector>

namespace Kavo::Tools {

/// The strongly connected components of a directed graph: groups of nodes that all reach each
/// other. `edges[node]` lists the nodes that an edge leads to. Each component comes after those
/// that it leads to; its nodes are sorted. Uses no recursion, so a path may be as long as the
/// graph.
std::vector<std::vector<int>> stronglyConnected(const std::vector<std::vector<int>> &edges);

} // namespace Kavo::Tools
