#pragma once

#include <QHash>
#include <QPair>
#include <QString>

#include <vector>

namespace Kavo::Tools {

/// Paths as a tree of names. To put a path in or to look for it takes as long as the path is,
/// however deep it leads and however many there are. Nodes are counted from 0, the root, and stand
/// behind the one that they lie in. For one thread at a time.
class PathTree final
{
public:
    static constexpr int None = -1;
    static constexpr int Root = 0;

    PathTree();

    /// The node of a clean relative path, which is put in with what it lies in; the root for none.
    int add(const QString &path);
    /// The node of a name in another node, which is put in.
    int add(int parent, const QString &name);
    /// The node of a clean relative path, None when it is not there.
    int find(const QString &path) const;
    /// The node of a name in another node, None when it is not there.
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
