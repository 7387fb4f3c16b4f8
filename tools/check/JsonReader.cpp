#include "tools/check/JsonReader.h"

#include "tools/check/JsonTree.h"

#include <cstring>

namespace Kavo::Tools {

namespace {

/// The nesting limit of the clients' parser.
constexpr std::size_t DeepestNesting = 1024;

/// The number of reported faults of one kind.
constexpr int MostFaults = 100;

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

bool isHexadecimal(char byte)
{
    return isDigit(byte) || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

/// The length of the UTF-8 character at `at` in bytes, 0 if it is invalid.
int characterLength(const char *at, const char *end)
{
    const auto byte = [at](int index) -> uchar { return static_cast<uchar>(at[index]); };
    int length = 0;
    uint code = 0;
    if (byte(0) < 0x80)
        return 1;
    if ((byte(0) & 0xe0U) == 0xc0U) {
        length = 2;
        code = byte(0) & 0x1fU;
    } else if ((byte(0) & 0xf0U) == 0xe0U) {
        length = 3;
        code = byte(0) & 0x0fU;
    } else if ((byte(0) & 0xf8U) == 0xf0U) {
        length = 4;
        code = byte(0) & 0x07U;
    }
    if (length == 0 || end - at < length)
        return 0;
    for (int index = 1; index < length; ++index) {
        if ((byte(index) & 0xc0U) != 0x80U)
            return 0;
        code = (code << 6U) | (byte(index) & 0x3fU);
    }
    constexpr uint smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    return code >= smallest[length] && code <= 0x10ffff && !isSurrogate ? length : 0;
}

} // namespace

JsonReader::JsonReader(JsonTree &tree)
    : m_tree(tree)
    , m_begin(tree.m_bytes.constData())
    , m_end(m_begin + tree.m_bytes.size())
    , m_at(m_begin)
{}

void JsonReader::read()
{
    if (m_tree.m_bytes.startsWith("\xef\xbb\xbf"))
        m_at += 3;
    m_tree.m_nodes.emplace_back();
    if (readDocument())
        m_tree.m_root = &m_tree.m_nodes.front();
}

bool JsonReader::readDocument()
{
    skipSpace();
    if (isAtEnd())
        return fail(QStringLiteral("The file is empty"));
    JsonNode *node = &m_tree.m_nodes.front();
    for (;;) {
        skipSpace();
        if (!readValue(*node))
            return false;
        const bool isOpen = !m_open.empty() && m_open.back().node == node;
        if (!isOpen && !readBehindValue())
            return false;
        if (m_open.empty())
            break;
        node = &append();
        skipSpace();
        if (m_open.back().node->isObject() && !readKey(*node))
            return false;
    }
    skipSpace();
    return isAtEnd() || fail(QStringLiteral("There is something behind the end of the document"));
}

/// Reads what follows a value: a comma before the next one, or the ends of its containers.
bool JsonReader::readBehindValue()
{
    while (!m_open.empty()) {
        skipSpace();
        if (isAt(',')) {
            ++m_at;
            return true;
        }
        JsonNode &parent = *m_open.back().node;
        const char close = parent.isArray() ? ']' : '}';
        if (!isAt(close))
            return fail(
                isAtEnd()
                    ? QStringLiteral("The file ends in the middle")
                    : QStringLiteral("A comma or \"%1\" is expected here").arg(QLatin1Char(close)));
        ++m_at;
        parent.end = offset(m_at);
        m_open.pop_back();
    }
    return true;
}

JsonNode &JsonReader::append()
{
    JsonNode &node = m_tree.m_nodes.emplace_back();
    Open &open = m_open.back();
    node.parent = open.node;
    if (open.lastChild) {
        open.lastChild->nextSibling = &node;
        node.index = open.lastChild->index + 1;
    } else {
        open.node->firstChild = &node;
    }
    open.lastChild = &node;
    return node;
}

bool JsonReader::readKey(JsonNode &node)
{
    if (!isAt('"'))
        return fail(isAtEnd() ? QStringLiteral("The file ends in the middle")
                              : QStringLiteral("A key in double quotes is expected here"));
    node.keyStart = offset(m_at);
    if (!readText(node.m_rawKey, node.m_keyLength))
        return false;
    const auto length = static_cast<std::size_t>(node.m_keyLength);
    node.m_hasEscapeInKey = std::memchr(node.m_rawKey, '\\', length) != nullptr;
    skipSpace();
    if (!isAt(':'))
        return fail(QStringLiteral("A colon is expected behind the key"));
    ++m_at;
    return true;
}

/// Reads a complete value, or the beginning of an array or object that is not empty.
bool JsonReader::readValue(JsonNode &node)
{
    if (isAtEnd())
        return fail(QStringLiteral("The file ends in the middle"));
    node.start = offset(m_at);
    if (isAt('"')) {
        node.kind = JsonNode::Kind::TEXT;
        if (!readText(node.m_raw, node.m_rawLength))
            return false;
    } else if (isAt('[') || isAt('{')) {
        const bool isArray = isAt('[');
        node.kind = isArray ? JsonNode::Kind::ARRAY : JsonNode::Kind::OBJECT;
        if (m_open.size() == DeepestNesting)
            return fail(QStringLiteral("Values are nested too deep"));
        ++m_at;
        skipSpace();
        if (!isAt(isArray ? ']' : '}')) {
            m_open.push_back({&node, nullptr});
            return true;
        }
        ++m_at;
    } else if (isAt('-') || isAt('.') || isDigit(*m_at)) {
        if (!readNumber(node))
            return false;
    } else if (!readLiteral(node)) {
        return false;
    }
    node.end = offset(m_at);
    return true;
}

bool JsonReader::readText(const char *&raw, int &length)
{
    const char *const quote = m_at++;
    raw = m_at;
    m_isWrongEncoding = false;
    for (skipPlain(); !isAtEnd() && *m_at != '"'; skipPlain()) {
        if (*m_at == '\\' ? !readEscape() : !readCharacter())
            return false;
    }
    if (isAtEnd()) {
        m_at = quote;
        return fail(QStringLiteral("A text begins here and does not end"));
    }
    length = static_cast<int>(m_at - raw);
    ++m_at;
    return true;
}

/// Skips the common characters of a string.
void JsonReader::skipPlain()
{
    while (!isAtEnd() && *m_at >= 0x20 && *m_at != '"' && *m_at != '\\')
        ++m_at;
}

bool JsonReader::readEscape()
{
    if (m_end - m_at < 2)
        return fail(QStringLiteral("The file ends in the middle"));
    const char letter = m_at[1];
    if (letter == 'u') {
        for (int digit = 2; digit < 6; ++digit) {
            if (m_end - m_at <= digit || !isHexadecimal(m_at[digit]))
                return fail(QStringLiteral("Four hexadecimal digits are expected behind \"\\u\""));
        }
        m_at += 6;
        return true;
    }
    if (!std::strchr("\"\\/bfnrt", letter) || letter == '\0')
        note(JsonFault::Kind::TOLERATED, m_at,
             QStringLiteral("A backslash stands in front of a character that needs none"));
    ++m_at;
    if (static_cast<uchar>(letter) < 0x80)
        return readCharacter();
    // Clients use the first byte as a character, whatever it is, and cannot read the others.
    const int length = characterLength(m_at, m_end);
    if (length > 1)
        noteEncoding(QStringLiteral("A backslash stands in front of a character of several bytes"));
    m_at += qMax(length, 1);
    return true;
}

bool JsonReader::readCharacter()
{
    const int length = characterLength(m_at, m_end);
    if (length == 0) {
        noteEncoding(QStringLiteral("The text is not in UTF-8"));
        ++m_at;
        return true;
    }
    if (static_cast<uchar>(*m_at) < 0x20)
        note(JsonFault::Kind::TOLERATED, m_at,
             QStringLiteral("A text has a line break or another control character that is not "
                            "written as an escape"));
    m_at += length;
    return true;
}

/// Returns whether there were any digits.
bool JsonReader::skipDigits()
{
    const char *const first = m_at;
    while (!isAtEnd() && isDigit(*m_at))
        ++m_at;
    return m_at != first;
}

/// Clients also accept a number without digits before or after the point.
bool JsonReader::readNumber(JsonNode &node)
{
    node.kind = JsonNode::Kind::NUMBER;
    node.m_raw = m_at;
    if (isAt('-'))
        ++m_at;
    const char *const whole = m_at;
    bool isComplete = skipDigits();
    const bool hasZeros = m_at - whole > 1 && *whole == '0';
    if (isAt('.')) {
        ++m_at;
        isComplete = skipDigits() && isComplete;
    }
    if (isAt('e') || isAt('E')) {
        ++m_at;
        if (isAt('+') || isAt('-'))
            ++m_at;
        skipDigits();
    }
    node.m_rawLength = static_cast<int>(m_at - node.m_raw);
    bool isNumber = false;
    QByteArray::fromRawData(node.m_raw, node.m_rawLength).toDouble(&isNumber);
    if (!isNumber || hasZeros) {
        m_at = node.m_raw;
        return fail(QStringLiteral("This is no number"));
    }
    if (!isComplete)
        note(JsonFault::Kind::TOLERATED, node.m_raw,
             QStringLiteral("There is no digit in front of the point or behind it"));
    return true;
}

bool JsonReader::readLiteral(JsonNode &node)
{
    struct Literal
    {
        const char *word;
        JsonNode::Kind kind;
    };
    constexpr Literal literals[] = {{"true", JsonNode::Kind::BOOLEAN},
                                    {"false", JsonNode::Kind::BOOLEAN},
                                    {"null", JsonNode::Kind::NOTHING}};
    for (const Literal &literal : literals) {
        const auto length = std::strlen(literal.word);
        if (static_cast<std::size_t>(m_end - m_at) >= length &&
            std::strncmp(m_at, literal.word, length) == 0) {
            node.kind = literal.kind;
            m_at += length;
            return true;
        }
    }
    return fail(QStringLiteral("A value is expected here"));
}

void JsonReader::skipSpace()
{
    while (!isAtEnd() && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t'))
        ++m_at;
}

void JsonReader::note(JsonFault::Kind kind, const char *at, const QString &reason)
{
    int &count = kind == JsonFault::Kind::ENCODING ? m_encodingFaults : m_toleratedFaults;
    if (++count <= MostFaults)
        m_tree.m_faults.push_back({kind, offset(at), reason});
}

/// Further invalid bytes in the same string are not reported.
void JsonReader::noteEncoding(const QString &reason)
{
    if (!m_isWrongEncoding)
        note(JsonFault::Kind::ENCODING, m_at, reason);
    m_isWrongEncoding = true;
}

bool JsonReader::fail(const QString &reason)
{
    m_tree.m_faults.push_back({JsonFault::Kind::SYNTAX, offset(m_at), reason});
    return false;
}

} // namespace Kavo::Tools
