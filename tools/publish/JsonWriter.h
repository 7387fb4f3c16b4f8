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

    /// Where a value is going to stand.
    struct Place
    {
        QString role;
        QByteArray indentation; ///< of the line on which the value begins
        bool isOnOneLine;       ///< what it stands in
    };

    QByteArray written(const JsonDraft &draft, const Place &place) const;
    /// With its key in front.
    QByteArray writtenMember(const JsonDraft &draft, const Place &place) const;
    /// The layout of an array or object.
    JsonStyle::Layout layoutOf(const JsonDraft &draft, const Place &place) const;
    /// The same, made of children that are written already.
    QByteArray enclosed(JsonNode::Kind kind, const QByteArrayList &children, const Place &place,
                        JsonStyle::Layout layout) const;

    /// A text as JSON has it, in its quotes.
    QByteArray quoted(const QString &text) const;

private:
    QByteArray writtenContainer(const JsonDraft &draft, const Place &place,
                                JsonStyle::Layout layout) const;

    const JsonStyle &m_style;
};

} // namespace Kavo::Tools
