#include "packages/JsonElements.h"

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

/// Behind the text whose opening quote stands before `at`, or the end. Most of a catalogue is text,
/// so quotes are searched for in one go; one behind an odd number of backslashes belongs to it.
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

/// The comma or bracket that ends the element which begins at `at`, or the end. Only where it ends
/// is looked for here, whether it is well formed is the reader's question.
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

bool readJsonElements(const QByteArray &bytes, const std::function<void(const QJsonValue &)> &take)
{
    const char *at = bytes.constData();
    const char *const end = at + bytes.size();
    if (bytes.startsWith("\xef\xbb\xbf"))
        at += 3;
    at = skipSpace(at, end);
    if (at == end || *at != '[')
        return false;
    at = skipSpace(at + 1, end);
    if (at != end && *at == ']')
        return skipSpace(at + 1, end) == end;

    QByteArray element;
    while (true) {
        const char *const close = endOfElement(at, end);
        if (close == end || *close == '}')
            return false;
        // In brackets of its own an element may be of any type, and is as deep in them as in the
        // document.
        element = '[' + QByteArray::fromRawData(at, static_cast<int>(close - at)) + ']';
        const QJsonArray single = QJsonDocument::fromJson(element).array();
        if (single.size() != 1)
            return false;
        take(single.first());
        if (*close == ']')
            return skipSpace(close + 1, end) == end;
        at = close + 1;
    }
}

} // namespace Kavo::Models
