#pragma once

#include <QHash>
#include <QPair>
#include <QString>

#include <vector>

namespace Kavo::Tools {

/// A tree of path names. Adding and finding a path takes time in proportion to its length only.
/// Nodes are numbered from 0, the root; a node has a greater number than its parent. For one thread
/// at a time.
class PathTree final
{
public:
    static constexpr int None = -1;
    static constexpr int Root = 0;

    PathTree();

    /// Adds a clean relative path with its parents and returns its node; the root for an empty
    /// path.
    int add(const QString &path);
    /// Adds a name to a node and returns the child.
    int add(int parent, const QString &name);
    /// The node of a clean relative path, None if it does not exist.
    int find(const QString &path) const;
    /// The child of a node with this name, None if it does not exist.
    int find(int parent, const QString &name) const
    {
        return m_children.value({parent, name}, None);
    }

    int size() const { return static_cast<int>(m_nodes.size()); }
    int parent(int node) const { return at(node).parent; }
    const QString &name(int node) const { return at(node).name; }
    QString path(int node) const;

private:
    struct Node
    {
        int parent;
        QString name;
    };

    const Node &at(int node) const { return m_nodes[static_cast<std::size_t>(node)]; }

    std::vector<Node> m_nodes;
    QHash<QPair<int, QString>, int> m_children;
};

} // namespace Kavo::Tools
