#pragma once

#include "tools/check/JsonTree.h"

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Kavo::Tools {

/// The layout of a JSON document, for insertions in the same style. If the document is
/// inconsistent, the majority decides, and values near the insertion have the most weight.
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
    /// The indentation of a child.
    QByteArray indentation() const { return m_indentation; }
    /// The separator between a key and its value.
    QByteArray colon() const { return m_colon; }
    /// The separator between two children on one line.
    QByteArray comma() const { return m_comma; }
    /// The space inside the brackets of a value on one line.
    QByteArray padding(JsonNode::Kind kind) const { return m_paddings.value(kind); }
    /// Whether non-ASCII characters are written as escapes.
    bool isEscaped() const { return m_isEscaped; }
    /// The longest line with a whole array or object, in bytes.
    int longestLine() const { return m_longestLine; }

    /// The layout of arrays and objects with this role.
    Layout layoutOf(const QString &role) const { return m_layouts.value(role, Layout::UNKNOWN); }
    /// The layout of arrays or objects that contain only strings and numbers.
    Layout layoutOfPlain(JsonNode::Kind kind) const;

    /// The role of a value: its key. Elements of an array have the role of the array, followed by
    /// "[]".
    static QString roleOf(const JsonNode &node);
    static QString roleOfElements(const QString &role) { return role + QStringLiteral("[]"); }
    /// Whether the children of a value are on lines of their own.
    static bool isOnLines(const JsonTree &tree, const JsonNode &node);
    /// The indentation of the line at an offset.
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
