#include "tools/publish/StyleVotes.h"

#include <algorithm>
#include <limits>

namespace Kavo::Tools {

using Layout = JsonStyle::Layout;

namespace {

bool isContainer(const JsonNode &node)
{
    return node.isArray() || node.isObject();
}

/// The offset of a child; members begin with their key.
int beginningOf(const JsonNode &child)
{
    return child.isMember() ? child.keyStart : child.start;
}

bool isPlain(const JsonNode &node)
{
    for (const JsonNode &child : JsonChildren(&node)) {
        if (isContainer(child))
            return false;
    }
    return true;
}

} // namespace

StyleVotes::StyleVotes(const JsonTree &tree, const JsonNode *near) : m_tree(tree)
{
    if (!tree.root())
        return;
    countAll(*tree.root());
    if (!near)
        return;
    m_weight = std::numeric_limits<int>::max();
    countAll(*near);
}

void StyleVotes::countAll(const JsonNode &top)
{
    std::vector<const JsonNode *> ahead{&top};
    while (!ahead.empty()) {
        const JsonNode &node = *ahead.back();
        ahead.pop_back();
        if (node.isMember())
            countColon(node);
        if (node.firstChild)
            count(node);
        for (const JsonNode &child : JsonChildren(&node))
            ahead.push_back(&child);
    }
}

void StyleVotes::count(const JsonNode &node)
{
    const bool isOnLines = JsonStyle::isOnLines(m_tree, node);
    const Layout layout = isOnLines ? Layout::ON_LINES : Layout::ON_ONE_LINE;
    layouts[JsonStyle::roleOf(node)][layout] += m_weight;
    if (isPlain(node))
        plainLayouts[node.kind][layout] += m_weight;
    if (isOnLines)
        countLines(node);
    else
        countOneLine(node);
}

void StyleVotes::countLines(const JsonNode &node)
{
    const QByteArray outer = JsonStyle::indentationAt(m_tree.bytes(), node.start);
    const QByteArray inner =
        JsonStyle::indentationAt(m_tree.bytes(), beginningOf(*node.firstChild));
    if (inner.startsWith(outer))
        indentations[inner.mid(outer.size())] += m_weight;
}

void StyleVotes::countOneLine(const JsonNode &node)
{
    const QByteArray padding = between(node.start + 1, beginningOf(*node.firstChild));
    paddings[node.kind][padding] += m_weight;
    const JsonNode *const second = node.firstChild->nextSibling;
    if (second) {
        const QByteArray comma = between(node.firstChild->end, beginningOf(*second));
        // The second child may be on the next line nevertheless.
        if (!comma.contains('\n'))
            commas[comma] += m_weight;
    }
    const bool isWhole = !between(node.start, node.end).contains('\n');
    if (isWhole && node.isMember())
        longestLine = std::max(longestLine, lineUpTo(node.end));
}

/// The length of the line up to an offset, 0 if it is too long to be read. A whole catalogue may be
/// on one line, which must not be scanned for each of its values.
int StyleVotes::lineUpTo(int end) const
{
    constexpr int longest = 1000;
    const QByteArray part = between(std::max(end - longest, 0), end);
    const int feed = part.lastIndexOf('\n');
    return feed < 0 && end > longest ? 0 : part.size() - feed - 1;
}

void StyleVotes::countColon(const JsonNode &member)
{
    const QByteArray &bytes = m_tree.bytes();
    const int quote = bytes.lastIndexOf('"', member.start - 1);
    const QByteArray colon = between(quote + 1, member.start);
    if (!colon.contains('\n'))
        colons[colon] += m_weight;
}

QByteArray StyleVotes::between(int start, int end) const
{
    return m_tree.bytes().mid(start, end - start);
}

} // namespace Kavo::Tools
