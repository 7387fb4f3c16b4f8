#include "tools/publish/JsonStyle.h"

#include "tools/publish/StyleVotes.h"

#include <algorithm>

namespace Kavo::Tools {

namespace {

using Kind = JsonNode::Kind;

/// The length of an easily readable line.
constexpr int ReadableLine = 100;

QByteArray newLineOf(const QByteArray &bytes)
{
    const int feed = bytes.indexOf('\n');
    return feed > 0 && bytes.at(feed - 1) == '\r' ? QByteArrayLiteral("\r\n")
                                                  : QByteArrayLiteral("\n");
}

/// Whether the document uses escapes for non-ASCII characters throughout.
bool hasEscapesOnly(const JsonTree &tree)
{
    const QByteArray &bytes = tree.bytes();
    const int start = tree.root() ? tree.root()->start : 0;
    const bool isAscii = std::all_of(bytes.cbegin() + start, bytes.cend(),
                                     [](char byte) { return static_cast<uchar>(byte) < 0x80; });
    return isAscii && bytes.contains("\\u");
}

} // namespace

JsonStyle::JsonStyle(const JsonTree &tree, const JsonNode *near)
    : m_newLine(newLineOf(tree.bytes()))
    , m_isEscaped(hasEscapesOnly(tree))
{
    const StyleVotes votes(tree, near);
    m_indentation = StyleVotes::winner(votes.indentations, QByteArrayLiteral("  "));
    m_colon = StyleVotes::winner(votes.colons, QByteArrayLiteral(": "));
    // If there is no comma within a line, the colons show whether the style is compact.
    const bool isDense = m_colon == ":";
    m_comma = StyleVotes::winner(votes.commas, QByteArray(isDense ? "," : ", "));
    const QByteArray inObjects = QByteArray(isDense ? "" : " ");
    m_paddings[Kind::OBJECT] = StyleVotes::winner(votes.paddings.value(Kind::OBJECT), inObjects);
    m_paddings[Kind::ARRAY] = StyleVotes::winner(votes.paddings.value(Kind::ARRAY), QByteArray());
    for (auto role = votes.layouts.cbegin(); role != votes.layouts.cend(); ++role)
        m_layouts[role.key()] = StyleVotes::winner(role.value(), Layout::UNKNOWN);
    for (const Kind kind : {Kind::ARRAY, Kind::OBJECT})
        m_plainLayouts[kind] =
            StyleVotes::winner(votes.plainLayouts.value(kind), Layout::ON_ONE_LINE);
    m_longestLine = std::max(ReadableLine, votes.longestLine);
}

JsonStyle::Layout JsonStyle::layoutOfPlain(Kind kind) const
{
    return m_plainLayouts.value(kind, Layout::ON_ONE_LINE);
}

QString JsonStyle::roleOf(const JsonNode &node)
{
    if (node.isMember())
        return node.key();
    return node.parent ? roleOfElements(roleOf(*node.parent)) : QString();
}

bool JsonStyle::isOnLines(const JsonTree &tree, const JsonNode &node)
{
    const JsonNode *const child = node.firstChild;
    if (!child)
        return false;
    const int first = child->isMember() ? child->keyStart : child->start;
    return tree.bytes().mid(node.start, first - node.start).contains('\n');
}

QByteArray JsonStyle::indentationAt(const QByteArray &bytes, int offset)
{
    const int start = offset > 0 ? bytes.lastIndexOf('\n', offset - 1) + 1 : 0;
    int end = start;
    while (end < offset && (bytes.at(end) == ' ' || bytes.at(end) == '\t'))
        ++end;
    return bytes.mid(start, end - start);
}

} // namespace Kavo::Tools
