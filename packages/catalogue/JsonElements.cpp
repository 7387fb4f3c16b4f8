#include "packages/catalogue/JsonElements.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstring>

namespace Kavo::Models {

namespace {

bool isSpace(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

const char *skipSpace(const char *at, const char *end)
{
    while (at != end && isSpace(*at))
        ++at;
    return at;
}

/// Returns the position after the string whose opening quote is before `at`, or the end. Most of a
/// catalogue is strings, so it searches for quotes directly; a quote after an odd number of
/// backslashes is escaped.
const char *skipText(const char *at, const char *end)
{
    while (at != end) {
        const void *const found = std::memchr(at, '"', static_cast<std::size_t>(end - at));
        if (!found)
            return end;
        const char *const quote = static_cast<const char *>(found);
        const char *escape = quote;
        while (escape != at && escape[-1] == '\\')
            --escape;
        at = quote + 1;
        if ((quote - escape) % 2 == 0)
            return at;
    }
    return end;
}

/// Returns the position of the comma or bracket that ends the element at `at`, or the end. It only
/// finds the end; the parser checks whether the element is well formed.
const char *endOfElement(const char *at, const char *end)
{
    int depth = 0;
    while (at != end) {
        switch (*at) {
        case '"':
            at = skipText(at + 1, end);
            continue;
        case '[':
        case '{':
            ++depth;
            break;
        case ']':
        case '}':
            if (--depth < 0)
                return at;
            break;
        case ',':
            if (depth == 0)
                return at;
            break;
        default:
            break;
        }
        ++at;
    }
    return end;
}

} // namespace

JsonElements::JsonElements(const QByteArray &bytes)
    : m_bytes(bytes)
    , m_at(m_bytes.constData())
    , m_end(m_at + m_bytes.size())
{
    if (m_bytes.startsWith("\xef\xbb\xbf"))
        m_at += 3;
    m_at = skipSpace(m_at, m_end);
    if (m_at == m_end || *m_at != '[') {
        end(false);
        return;
    }
    m_at = skipSpace(m_at + 1, m_end);
    if (m_at != m_end && *m_at == ']')
        end(skipSpace(m_at + 1, m_end) == m_end);
}

std::optional<QJsonValue> JsonElements::next()
{
    if (!m_at)
        return std::nullopt;
    const char *const close = endOfElement(m_at, m_end);
    if (close == m_end || *close == '}') {
        end(false);
        return std::nullopt;
    }
    // The added brackets allow an element of any type and keep its nesting depth the same as in the
    // document.
    m_element = '[' + QByteArray::fromRawData(m_at, static_cast<int>(close - m_at)) + ']';
    const QJsonArray single = QJsonDocument::fromJson(m_element).array();
    if (single.size() != 1) {
        end(false);
        return std::nullopt;
    }
    m_at = close + 1;
    if (*close == ']')
        end(skipSpace(m_at, m_end) == m_end);
    return single.first();
}

void JsonElements::end(bool isWhole)
{
    m_isWhole = isWhole;
    m_at = nullptr;
}

bool readJsonElements(const QByteArray &bytes, const std::function<void(const QJsonValue &)> &take)
{
    JsonElements elements(bytes);
    while (const std::optional<QJsonValue> element = elements.next())
        take(*element);
    return elements.isWhole();
}

} // namespace Kavo::Models
