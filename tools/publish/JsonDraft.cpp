#include "tools/publish/JsonDraft.h"

#include <algorithm>
#include <utility>

namespace Kavo::Tools {

namespace {

using Drafts = std::vector<JsonDraft>;

Drafts::iterator find(Drafts &members, const QString &key)
{
    return std::find_if(members.begin(), members.end(),
                        [&key](const JsonDraft &member) { return member.key == key; });
}

/// The members to be written, each of them arranged recursively.
Drafts wantedMembers(const JsonNode *pattern, const JsonDraft &draft)
{
    Drafts wanted;
    for (const JsonDraft &member : draft.children) {
        const QByteArray key = member.key.toUtf8();
        const JsonNode *const known = pattern ? pattern->member(QLatin1String(key)) : nullptr;
        JsonDraft arranged = arrangedAs(known, member);
        if (!arranged.isEmpty() || (known && known->isArray()))
            wanted.push_back(std::move(arranged));
    }
    return wanted;
}

} // namespace

JsonDraft JsonDraft::ofText(const QString &text)
{
    JsonDraft draft;
    draft.kind = JsonNode::Kind::TEXT;
    draft.text = text;
    return draft;
}

JsonDraft JsonDraft::ofNumber(qint64 number)
{
    JsonDraft draft;
    draft.kind = JsonNode::Kind::NUMBER;
    draft.number = number;
    return draft;
}

JsonDraft JsonDraft::ofTexts(const QStringList &texts)
{
    JsonDraft draft = ofArray();
    for (const QString &text : texts)
        draft.append(ofText(text));
    return draft;
}

JsonDraft JsonDraft::ofArray()
{
    JsonDraft draft;
    draft.kind = JsonNode::Kind::ARRAY;
    return draft;
}

JsonDraft JsonDraft::ofObject()
{
    JsonDraft draft;
    draft.kind = JsonNode::Kind::OBJECT;
    return draft;
}

bool JsonDraft::isContainer() const
{
    return kind == JsonNode::Kind::ARRAY || kind == JsonNode::Kind::OBJECT;
}

void JsonDraft::append(JsonDraft element)
{
    children.push_back(std::move(element));
}

void JsonDraft::add(QLatin1String name, JsonDraft value)
{
    value.key = name;
    children.push_back(std::move(value));
}

JsonDraft arrangedAs(const JsonNode *pattern, const JsonDraft &draft)
{
    if (draft.kind != JsonNode::Kind::OBJECT)
        return draft;
    Drafts wanted = wantedMembers(pattern, draft);
    JsonDraft arranged = draft;
    Drafts &members = arranged.children;
    members.clear();
    for (const JsonNode &known : JsonChildren(pattern)) {
        const auto member = find(wanted, known.key());
        if (member != wanted.end() && find(members, member->key) == members.end())
            members.push_back(*member);
    }
    auto place = members.begin();
    for (const JsonDraft &member : wanted) {
        const auto known = find(members, member.key);
        place = known == members.end() ? members.insert(place, member) : known;
        ++place;
    }
    return arranged;
}

} // namespace Kavo::Tools
