#include "tools/publish/JsonWriter.h"

#include <QByteArrayList>

#include <algorithm>

namespace Kavo::Tools {

using Kind = JsonNode::Kind;
using Layout = JsonStyle::Layout;

namespace {

bool isPlain(const JsonDraft &draft)
{
    return std::none_of(draft.children.cbegin(), draft.children.cend(),
                        [](const JsonDraft &child) { return child.isContainer(); });
}

QByteArray escaped(QChar character)
{
    return "\\u" + QByteArray::number(character.unicode(), 16).rightJustified(4, '0');
}

/// Whether there is an unpaired surrogate at a position.
bool isLoneSurrogate(const QString &text, int position)
{
    const QChar character = text.at(position);
    if (character.isHighSurrogate())
        return position + 1 == text.size() || !text.at(position + 1).isLowSurrogate();
    return character.isLowSurrogate() &&
           (position == 0 || !text.at(position - 1).isHighSurrogate());
}

} // namespace

JsonWriter::JsonWriter(const JsonStyle &style) : m_style(style) {}

QByteArray JsonWriter::written(const JsonDraft &draft, const Place &place) const
{
    switch (draft.kind) {
    case Kind::TEXT:
        return quoted(draft.text);
    case Kind::NUMBER:
        return QByteArray::number(draft.number);
    case Kind::ARRAY:
    case Kind::OBJECT:
        break;
    case Kind::NOTHING:
    case Kind::BOOLEAN:
        return QByteArrayLiteral("null");
    }
    const Layout layout = layoutOf(draft, place);
    const QByteArray text = writtenContainer(draft, place, layout);
    // A long value is not written on one line, unless its siblings are.
    const int length = place.indentation.size() + place.role.size() + text.size();
    const bool canGrow = layout == Layout::ON_ONE_LINE && !place.isOnOneLine &&
                         !place.role.endsWith(QLatin1String("[]"));
    if (canGrow && !draft.children.empty() && length > m_style.longestLine())
        return writtenContainer(draft, place, Layout::ON_LINES);
    return text;
}

QByteArray JsonWriter::writtenMember(const JsonDraft &draft, const Place &place) const
{
    return quoted(draft.key) + m_style.colon() + written(draft, place);
}

Layout JsonWriter::layoutOf(const JsonDraft &draft, const Place &place) const
{
    const Layout known = m_style.layoutOf(place.role);
    if (known != Layout::UNKNOWN)
        return known;
    if (place.isOnOneLine)
        return Layout::ON_ONE_LINE;
    // Rules contain lists, even if those of this one are empty.
    const bool isRule =
        place.role == QLatin1String("install") || place.role == QLatin1String("uninstall");
    return isPlain(draft) && !isRule ? m_style.layoutOfPlain(draft.kind) : Layout::ON_LINES;
}

QByteArray JsonWriter::writtenContainer(const JsonDraft &draft, const Place &place,
                                        Layout layout) const
{
    const bool isOnLines = layout == Layout::ON_LINES;
    const QByteArray inner = place.indentation + (isOnLines ? m_style.indentation() : QByteArray());
    QByteArrayList children;
    for (const JsonDraft &child : draft.children) {
        const bool isMember = draft.kind == Kind::OBJECT;
        const Place within{isMember ? child.key : JsonStyle::roleOfElements(place.role), inner,
                           !isOnLines};
        children.append(isMember ? writtenMember(child, within) : written(child, within));
    }
    return enclosed(draft.kind, children, place, layout);
}

QByteArray JsonWriter::enclosed(Kind kind, const QByteArrayList &children, const Place &place,
                                Layout layout) const
{
    const bool isArray = kind == Kind::ARRAY;
    const QByteArray open(isArray ? "[" : "{");
    const QByteArray close(isArray ? "]" : "}");
    if (children.isEmpty())
        return open + close;
    if (layout != Layout::ON_LINES) {
        const QByteArray padding = m_style.padding(kind);
        return open + padding + children.join(m_style.comma()) + padding + close;
    }
    const QByteArray outer = m_style.newLine() + place.indentation;
    const QByteArray inner = outer + m_style.indentation();
    return open + inner + children.join("," + inner) + outer + close;
}

QByteArray JsonWriter::quoted(const QString &text) const
{
    QByteArray result("\"");
    for (int position = 0; position < text.size(); ++position) {
        const QChar character = text.at(position);
        const ushort code = character.unicode();
        if (character == QLatin1Char('"') || character == QLatin1Char('\\'))
            result += '\\' + QByteArray(1, character.toLatin1());
        else if (character == QLatin1Char('\n'))
            result += "\\n";
        else if (character == QLatin1Char('\t'))
            result += "\\t";
        else if (code < 0x20 || code == 0x7f || isLoneSurrogate(text, position) ||
                 (code > 0x7f && m_style.isEscaped()))
            result += escaped(character);
        else if (character.isHighSurrogate())
            result += text.mid(position++, 2).toUtf8();
        else
            result += QString(character).toUtf8();
    }
    return result + '"';
}

} // namespace Kavo::Tools
