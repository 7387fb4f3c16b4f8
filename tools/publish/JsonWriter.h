#pragma once

#include "tools/publish/JsonDraft.h"
#include "tools/publish/JsonStyle.h"

#include <QByteArray>

namespace Kavo::Tools {

/// Writes JSON in the style of a document.
class JsonWriter final
{
public:
    explicit JsonWriter(const JsonStyle &style);

    /// The position of a value to be written.
    struct Place
    {
        QString role;
        QByteArray indentation; ///< indentation of the line on which the value begins
        bool isOnOneLine;       ///< parent value
    };

    QByteArray written(const JsonDraft &draft, const Place &place) const;
    /// Writes a member with its key.
    QByteArray writtenMember(const JsonDraft &draft, const Place &place) const;
    /// Writes an array or object.
    JsonStyle::Layout layoutOf(const JsonDraft &draft, const Place &place) const;
    /// Writes an array or object from written children.
    QByteArray enclosed(JsonNode::Kind kind, const QByteArrayList &children, const Place &place,
                        JsonStyle::Layout layout) const;

    /// A string in JSON notation with quotes.
    QByteArray quoted(const QString &text) const;

private:
    QByteArray writtenContainer(const JsonDraft &draft, const Place &place,
                                JsonStyle::Layout layout) const;

    const JsonStyle &m_style;
};

} // namespace Kavo::Tools
