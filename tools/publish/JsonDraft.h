#pragma once

#include "tools/check/JsonNode.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Kavo::Tools {

/// A JSON value to be written: a string, an integer, an array or an object.
struct JsonDraft
{
    static JsonDraft ofText(const QString &text);
    static JsonDraft ofNumber(qint64 number);
    static JsonDraft ofTexts(const QStringList &texts);
    static JsonDraft ofArray();
    static JsonDraft ofObject();

    JsonNode::Kind kind = JsonNode::Kind::NOTHING;
    QString key; ///< key of a member of an object
    QString text;
    qint64 number = 0;
    std::vector<JsonDraft> children;

    bool isContainer() const;
    /// Whether it is an empty array or object.
    bool isEmpty() const { return isContainer() && children.empty(); }

    /// Appends an element to an array.
    void append(JsonDraft element);
    /// Appends a member to an object.
    void add(QLatin1String name, JsonDraft value);
};

/// Returns `draft` with its members in the order of an existing object, recursively. A member that
/// is not in `pattern` stays behind its predecessor. Empty members are left out, except lists that
/// the pattern has as well. `pattern` may be null.
JsonDraft arrangedAs(const JsonNode *pattern, const JsonDraft &draft);

} // namespace Kavo::Tools
