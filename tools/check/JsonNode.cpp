#include "tools/check/JsonNode.h"

#include <QByteArray>

#include <cstring>

namespace Kavo::Tools {

namespace {

/// The four digits of an escape, which the reader has validated.
ushort codeUnit(const char *digits)
{
    return QByteArray::fromRawData(digits, 4).toUShort(nullptr, 16);
}

QChar unescaped(char letter)
{
    switch (letter) {
    case 'b':
        return QLatin1Char('\b');
    case 'f':
        return QLatin1Char('\f');
    case 'n':
        return QLatin1Char('\n');
    case 'r':
        return QLatin1Char('\r');
    case 't':
        return QLatin1Char('\t');
    default:
        return QLatin1Char(letter);
    }
}

/// One reference token of a JSON pointer.
QString step(QString key)
{
    return key.replace(QLatin1Char('~'), QLatin1String("~0"))
        .replace(QLatin1Char('/'), QLatin1String("~1"));
}

} // namespace

bool JsonNode::hasKey(QLatin1String name) const
{
    if (m_hasEscapeInKey)
        return key() == name;
    return m_keyLength == name.size() &&
           std::memcmp(m_rawKey, name.data(), static_cast<std::size_t>(m_keyLength)) == 0;
}

QString JsonNode::text() const
{
    return isText() ? decoded(m_raw, m_rawLength) : QString();
}

double JsonNode::number() const
{
    return isNumber() ? QByteArray::fromRawData(m_raw, m_rawLength).toDouble() : 0.0;
}

const JsonNode *JsonNode::member(QLatin1String name) const
{
    const JsonNode *found = nullptr;
    if (!isObject())
        return found;
    for (const JsonNode &child : JsonChildren(this)) {
        if (child.hasKey(name))
            found = &child;
    }
    return found;
}

QString JsonNode::pointer() const
{
    QString path;
    for (const JsonNode *node = this; node->parent; node = node->parent) {
        const QString name = node->isMember() ? step(node->key()) : QString::number(node->index);
        path.prepend(QLatin1Char('/') + name);
    }
    return path;
}

QString JsonNode::decoded(const char *bytes, int length)
{
    if (length == 0)
        return QString();
    const char *const end = bytes + length;
    QString text;
    while (bytes != end) {
        const void *const found = std::memchr(bytes, '\\', static_cast<std::size_t>(end - bytes));
        const char *const escape = found ? static_cast<const char *>(found) : end;
        text += QString::fromUtf8(bytes, static_cast<int>(escape - bytes));
        if (escape == end)
            break;
        const char letter = escape[1];
        text += letter == 'u' ? QChar(codeUnit(escape + 2)) : unescaped(letter);
        bytes = escape + (letter == 'u' ? 6 : 2);
    }
    return text;
}

} // namespace Kavo::Tools
