#pragma once

#include "tools/check/JsonNode.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Kavo::Tools {

/// A JSON value that is yet to be written: a text, a whole number, an array or an object.
struct JsonDraft
{
    static JsonDraft ofText(const QString &text);
    static JsonDraft ofNumber(qint64 number);
    static JsonDraft ofTexts(const QStringList &texts);
    static JsonDraft ofArray();
    static JsonDraft ofObject();

    JsonNode::Kind kind = JsonNode::Kind::NOTHING;
    QString key; ///< of a member of an object
    QString text;
    qint64 number = 0;
    std::vector<JsonDraft> children;

    bool isContainer() const;
    /// Whether it is an array or object without anything in it.
    bool isEmpty() const { return isContainer() && children.empty(); }

    /// Puts an element at the end of an array.
    void append(JsonDraft element);
    /// Puts a member at the end of an object.
    void add(QLatin1String name, JsonDraft value);
};

/// The members of `draft` in the order of an object that is there already, those of objects in it
/// likewise. What is not in `pattern` stands behind what it followed before. Empty members are left
/// out, but for lists that the pattern has as well. `pattern` may be null.
JsonDraft arrangedAs(const JsonNode *pattern, const JsonDraft &draft);

} // namespace Kavo::Tools
