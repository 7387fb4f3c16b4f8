#include "tools/check/KeysCheck.h"

#include "packages/model/ByteCount.h"
#include "tools/check/NearestWord.h"

#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kavo::Tools {

namespace {

const char *const Text = "a text";
const char *const WholeNumber = "a whole number";

QString nameOf(const JsonNode &node)
{
    switch (node.kind) {
    case JsonNode::Kind::NOTHING:
        return QStringLiteral("null");
    case JsonNode::Kind::BOOLEAN:
        return QStringLiteral("true or false");
    case JsonNode::Kind::NUMBER:
        return QStringLiteral("a number");
    case JsonNode::Kind::TEXT:
        return QStringLiteral("a text");
    case JsonNode::Kind::ARRAY:
        return QStringLiteral("an array");
    case JsonNode::Kind::OBJECT:
        return QStringLiteral("an object");
    }
    Q_UNREACHABLE();
}

bool isWhole(double number)
{
    return std::floor(number) == number;
}

} // namespace

KeysCheck::KeysCheck(Findings &findings) : m_findings(findings) {}

void KeysCheck::check(const JsonNode &root)
{
    for (const JsonNode &package : JsonChildren(&root))
        checkObject(package, packageKeys(), "an object that is a package");
}

void KeysCheck::checkObject(const JsonNode &node, const std::vector<CatalogueKey> &keys,
                            const char *expected)
{
    if (!node.isObject()) {
        report(node, expected);
        return;
    }
    std::vector<bool> isKnown(keys.size());
    for (const JsonNode &member : JsonChildren(&node)) {
        const auto key = std::find_if(keys.cbegin(), keys.cend(), [&member](const auto &candidate) {
            return member.hasKey(candidate.name);
        });
        if (key == keys.cend()) {
            reportUnknown(member, keys);
            continue;
        }
        const auto position = static_cast<std::size_t>(key - keys.cbegin());
        if (isKnown[position])
            reportTwice(member);
        isKnown[position] = true;
        checkValue(member, key->type);
    }
}

void KeysCheck::reportUnknown(const JsonNode &member, const std::vector<CatalogueKey> &keys)
{
    if (m_findings.isFull(Rule::KEY_UNKNOWN)) {
        m_findings.addAtKey(Rule::KEY_UNKNOWN, member, QString());
        return;
    }
    QStringList names;
    for (const CatalogueKey &key : keys)
        names.append(key.name);
    const QString nearest = nearestWord(member.key(), names);
    const QString hint =
        nearest.isEmpty()
            ? QStringLiteral("The keys here are: %1.").arg(names.join(QStringLiteral(", ")))
            : QStringLiteral("Was \"%1\" meant?").arg(nearest);
    m_findings.addAtKey(Rule::KEY_UNKNOWN, member,
                        QStringLiteral("\"%1\" means nothing here. %2").arg(member.key(), hint));
}

void KeysCheck::checkValue(const JsonNode &node, ValueType type)
{
    switch (type) {
    case ValueType::TEXT:
        if (!node.isText())
            report(node, Text);
        return;
    case ValueType::TEXTS:
        checkTexts(node);
        return;
    case ValueType::TRANSLATIONS:
        checkTranslations(node);
        return;
    case ValueType::INTEGER:
        checkInteger(node);
        return;
    case ValueType::BYTE_COUNT:
        checkByteCount(node);
        return;
    case ValueType::VERSIONS:
        checkVersions(node);
        return;
    case ValueType::INSTALL:
        checkObject(node, installKeys(), "an object with installation rules");
        return;
    case ValueType::UNINSTALL:
        checkObject(node, uninstallKeys(), "an object with removal rules");
        return;
    }
}

void KeysCheck::checkTexts(const JsonNode &node)
{
    if (!node.isArray()) {
        report(node, "an array of texts");
        return;
    }
    for (const JsonNode &element : JsonChildren(&node)) {
        if (!element.isText())
            report(element, Text);
    }
}

void KeysCheck::checkTranslations(const JsonNode &node)
{
    if (!node.isObject()) {
        report(node, "an object of a text for each language");
        return;
    }
    QSet<QString> known;
    for (const JsonNode &member : JsonChildren(&node)) {
        const QString language = member.key();
        if (known.contains(language))
            reportTwice(member);
        known.insert(language);
        if (!member.isText())
            report(member, Text);
    }
}

void KeysCheck::checkVersions(const JsonNode &node)
{
    if (!node.isArray()) {
        report(node, "an array of versions");
        return;
    }
    for (const JsonNode &version : JsonChildren(&node))
        checkObject(version, versionKeys(), "an object that is a version");
}

void KeysCheck::checkInteger(const JsonNode &node)
{
    if (!node.isNumber() || !isWhole(node.number())) {
        report(node, WholeNumber);
        return;
    }
    constexpr double smallest = std::numeric_limits<int>::min();
    constexpr double largest = std::numeric_limits<int>::max();
    if (node.number() < smallest || node.number() > largest)
        m_findings.add(Rule::ID_OUT_OF_RANGE, node,
                       QStringLiteral("The number does not fit into 32 bits."));
}

void KeysCheck::checkByteCount(const JsonNode &node)
{
    if (!node.isNumber())
        report(node, WholeNumber);
    else if (!Models::isByteCount(node.number()))
        m_findings.add(Rule::SIZE_MALFORMED, node, QStringLiteral("This is no count of bytes."));
}

void KeysCheck::reportTwice(const JsonNode &member)
{
    m_findings.addAtKey(Rule::KEY_TWICE, member,
                        QStringLiteral("\"%1\" stands here once more.").arg(member.key()));
}

void KeysCheck::report(const JsonNode &node, const char *expected)
{
    m_findings.add(Rule::TYPE_WRONG, node,
                   QStringLiteral("This is %1; what is asked for is %2.")
                       .arg(nameOf(node), QString::fromLatin1(expected)));
}

} // namespace Kavo::Tools
