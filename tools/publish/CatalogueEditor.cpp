#include "tools/publish/CatalogueEditor.h"

#include "tools/publish/JsonStyle.h"
#include "tools/publish/JsonWriter.h"

#include <QByteArrayList>

#include <algorithm>

namespace Kavo::Tools {

namespace {

using Layout = JsonStyle::Layout;

bool isNewer(const VersionView &first, const VersionView &second)
{
    return QVersionNumber::compare(first.number, second.number) > 0;
}

int positionOf(const std::vector<VersionView> &versions, const QVersionNumber &number)
{
    const auto begin = versions.cbegin();
    const auto end = versions.cend();
    const bool isNewestFirst = std::is_sorted(begin, end, isNewer);
    const bool isOldestFirst =
        !isNewestFirst &&
        std::is_sorted(begin, end, [](const VersionView &first, const VersionView &second) {
            return isNewer(second, first);
        });
    if (!isNewestFirst && !isOldestFirst)
        return static_cast<int>(versions.size());
    const auto place =
        std::find_if(begin, end, [&number, isNewestFirst](const VersionView &version) {
            const int order = QVersionNumber::compare(version.number, number);
            return isNewestFirst ? order < 0 : order > 0;
        });
    return static_cast<int>(place - begin);
}

const JsonNode *childAt(const JsonNode &parent, int position)
{
    const JsonNode *child = parent.firstChild;
    for (; child && position > 0; --position)
        child = child->nextSibling;
    return child;
}

int lastPosition(const JsonNode &parent)
{
    int position = -1;
    for (const JsonNode &child : JsonChildren(&parent))
        position = child.index;
    return position;
}

} // namespace

CatalogueEditor::CatalogueEditor(const JsonTree &tree) : m_tree(tree), m_view(tree.root()) {}

TextEdit CatalogueEditor::addPackage(int id, const JsonDraft &package) const
{
    const auto &packages = m_view.packages();
    const bool isInOrder =
        std::is_sorted(packages.cbegin(), packages.cend(),
                       [](const auto &first, const auto &second) { return first.id < second.id; });
    const auto next = std::find_if(packages.cbegin(), packages.cend(),
                                   [id](const PackageView &other) { return other.id > id; });
    const bool isBetween = packages.size() > 1 && isInOrder;
    return addElement(*m_tree.root(),
                      static_cast<int>((isBetween ? next : packages.cend()) - packages.cbegin()),
                      package);
}

TextEdit CatalogueEditor::addVersion(const PackageView &package, const QVersionNumber &number,
                                     const JsonDraft &version) const
{
    const JsonNode *const versions = package.node->member(QLatin1String("versions"));
    if (versions)
        return addElement(*versions, positionOf(package.versions, number), version);
    JsonDraft member = JsonDraft::ofArray();
    member.key = QStringLiteral("versions");
    member.append(version);
    return addMember(*package.node, member);
}

TextEdit CatalogueEditor::addElement(const JsonNode &array, int position,
                                     const JsonDraft &element) const
{
    const int last = lastPosition(array);
    if (last < 0)
        return addFirst(array, element);
    const JsonNode &neighbour = *childAt(array, std::min(position, last));
    const JsonStyle style(m_tree, &neighbour);
    const JsonWriter::Place place{JsonStyle::roleOf(neighbour),
                                  JsonStyle::indentationAt(m_tree.bytes(), neighbour.start),
                                  !JsonStyle::isOnLines(m_tree, array)};
    const QByteArray text = JsonWriter(style).written(element, place);
    const QByteArray between = separator(array, neighbour, style);
    if (position <= last)
        return {neighbour.start, 0, text + between};
    return {neighbour.end, 0, between + text};
}

/// The separator between existing elements, or the one in this style.
QByteArray CatalogueEditor::separator(const JsonNode &array, const JsonNode &neighbour,
                                      const JsonStyle &style) const
{
    const JsonNode *const before = childAt(array, std::max(neighbour.index - 1, 0));
    const JsonNode *const behind = before->nextSibling;
    if (behind)
        return m_tree.bytes().mid(before->end, behind->start - before->end);
    if (!JsonStyle::isOnLines(m_tree, array))
        return style.comma();
    return "," + style.newLine() + JsonStyle::indentationAt(m_tree.bytes(), neighbour.start);
}

/// For an empty array; the white space in it is replaced.
TextEdit CatalogueEditor::addFirst(const JsonNode &array, const JsonDraft &element) const
{
    const JsonStyle style(m_tree, array.parent);
    const JsonWriter writer(style);
    const bool isOnOneLine = array.parent && !JsonStyle::isOnLines(m_tree, *array.parent);
    JsonDraft whole = JsonDraft::ofArray();
    whole.append(element);
    const QByteArray text =
        writer.written(whole, {JsonStyle::roleOf(array),
                               JsonStyle::indentationAt(m_tree.bytes(), array.start), isOnOneLine});
    const int inside = array.start + 1;
    return {inside, array.end - 1 - inside, text.mid(1, text.size() - 2)};
}

TextEdit CatalogueEditor::addMember(const JsonNode &object, const JsonDraft &member) const
{
    const JsonNode &last = *childAt(object, lastPosition(object));
    const JsonStyle style(m_tree, &object);
    const bool isOnLines = JsonStyle::isOnLines(m_tree, object);
    const QByteArray indentation = JsonStyle::indentationAt(m_tree.bytes(), last.keyStart);
    const QByteArray text =
        JsonWriter(style).writtenMember(member, {member.key, indentation, !isOnLines});
    const QByteArray between =
        isOnLines ? QByteArray("," + style.newLine() + indentation) : style.comma();
    return {last.end, 0, between + text};
}

} // namespace Kavo::Tools
