#include "tools/check/NotationCheck.h"

namespace Kavo::Tools {

namespace {

Rule ruleOf(JsonFault::Kind kind)
{
    switch (kind) {
    case JsonFault::Kind::SYNTAX:
        return Rule::JSON_SYNTAX;
    case JsonFault::Kind::TOLERATED:
        return Rule::JSON_TOLERATED;
    case JsonFault::Kind::ENCODING:
        return Rule::JSON_ENCODING;
    }
    Q_UNREACHABLE();
}

void checkCharacters(const JsonNode &top, Findings &findings)
{
    const QString message = QStringLiteral("There is a NUL character in this text.");
    std::vector<const JsonNode *> ahead{&top};
    while (!ahead.empty()) {
        const JsonNode &node = *ahead.back();
        ahead.pop_back();
        if (node.isText() && node.text().contains(QChar::Null))
            findings.add(Rule::JSON_NUL_CHARACTER, node, message);
        if (node.isMember() && node.key().contains(QChar::Null))
            findings.addAtKey(Rule::JSON_NUL_CHARACTER, node, message);
        for (const JsonNode &child : JsonChildren(&node))
            ahead.push_back(&child);
    }
}

} // namespace

void checkNotation(const JsonTree &tree, Findings &findings)
{
    for (const JsonFault &fault : tree.faults())
        findings.addAt(ruleOf(fault.kind), fault.offset, fault.reason + QLatin1Char('.'));
    const JsonNode *const root = tree.root();
    if (!root)
        return;
    if (!root->isArray())
        findings.add(Rule::JSON_NOT_AN_ARRAY, *root,
                     QStringLiteral("There is no array at the top."));
    // Only an escape or the byte itself can produce one; almost no file has either.
    if (tree.bytes().contains("\\u0000") || tree.bytes().contains('\0'))
        checkCharacters(*root, findings);
}

} // namespace Kavo::Tools
