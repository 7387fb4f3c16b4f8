#pragma once

#include "tools/check/JsonTree.h"

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Kavo::Tools {

/// How a JSON document is laid out, so that what is put into it looks as if it had always stood
/// there. Where the document is not of one mind, most of it decides, and what stands near the new
/// place before all else.
class JsonStyle final
{
public:
    enum class Layout {
        UNKNOWN,
        ON_ONE_LINE,
        ON_LINES, ///< each child on a line of its own
    };

    /// `near` is a value next to the new place, or null.
    JsonStyle(const JsonTree &tree, const JsonNode *near);

    QByteArray newLine() const { return m_newLine; }
    /// What a child is indented by.
    QByteArray indentation() const { return m_indentation; }
    /// What stands between a key and its value.
    QByteArray colon() const { return m_colon; }
    /// What stands between two children on one line.
    QByteArray comma() const { return m_comma; }
    /// What stands behind an opening and in front of a closing bracket on one line.
    QByteArray padding(JsonNode::Kind kind) const { return m_paddings.value(kind); }
    /// Whether characters beyond ASCII are written as escapes.
    bool isEscaped() const { return m_isEscaped; }
    /// How many bytes a line may have that holds an array or object.
    int longestLine() const { return m_longestLine; }

    /// The layout of arrays and objects with this role.
    Layout layoutOf(const QString &role) const { return m_layouts.value(role, Layout::UNKNOWN); }
    /// The layout of arrays or objects in which there are only texts and numbers.
    Layout layoutOfPlain(JsonNode::Kind kind) const;

    /// The role of a value: the key under which it stands. Elements of an array have its role,
    /// followed by "[]".
    static QString roleOf(const JsonNode &node);
    static QString roleOfElements(const QString &role) { return role + QStringLiteral("[]"); }
    /// Whether the children of a value stand on lines of their own.
    static bool isOnLines(const JsonTree &tree, const JsonNode &node);
    /// The blanks and tabs in front of what stands on the line of an offset.
    static QByteArray indentationAt(const QByteArray &bytes, int offset);

private:
    QByteArray m_newLine;
    QByteArray m_indentation;
    QByteArray m_colon;
    QByteArray m_comma;
    QMap<JsonNode::Kind, QByteArray> m_paddings;
    QMap<QString, Layout> m_layouts;
    QMap<JsonNode::Kind, Layout> m_plainLayouts;
    bool m_isEscaped = false;
    int m_longestLine = 0;
};

} // namespace Kavo::Tools
