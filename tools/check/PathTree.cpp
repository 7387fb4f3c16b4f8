#include "tools/check/PathTree.h"

#include <QStringList>

#include <algorithm>

namespace Kavo::Tools {

PathTree::PathTree() : m_nodes{{None, QString()}} {}

int PathTree::add(const QString &path)
{
    int node = Root;
    for (const QString &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        node = add(node, name);
    return node;
}

int PathTree::add(int parent, const QString &name)
{
    int &child = m_children[{parent, name}];
    // The root is never a child, so 0 means a new entry.
    if (child == Root) {
        child = size();
        m_nodes.push_back({parent, name});
    }
    return child;
}

int PathTree::find(const QString &path) const
{
    int node = Root;
    for (const QString &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        node = find(node, name);
        if (node == None)
            return None;
    }
    return node;
}

QString PathTree::path(int node) const
{
    QStringList names;
    for (; node != Root; node = parent(node))
        names.append(name(node));
    std::reverse(names.begin(), names.end());
    return names.join(QLatin1Char('/'));
}

} // namespace Kavo::Tools
