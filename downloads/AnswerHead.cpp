#include "downloads/AnswerHead.h"

#include <QNetworkReply>

// Qt sometimes puts the headers of a redirect before those of the final answer ("145, 5000"). The
// last one counts.

namespace Kavo::Managers {

/// 0 if there is no answer.
int AnswerHead::status() const
{
    return m_reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool AnswerHead::bringsTheFile() const
{
    return status() == 200 || isPart();
}

bool AnswerHead::isPart() const
{
    return status() == 206;
}

bool AnswerHead::isUnchanged() const
{
    return status() == 304;
}

bool AnswerHead::isMeasuredWhole() const
{
    return status() == 200 && length() && !isCompressed();
}

bool AnswerHead::isErrorPage() const
{
    // Fixed, see docs/compatibility.md.
    return status() >= 400;
}

bool AnswerHead::refusesTheRange() const
{
    return status() == 416;
}

bool AnswerHead::isCompressed() const
{
    const QByteArray encoding = m_reply.rawHeader("Content-Encoding").trimmed().toLower();
    return encoding == "gzip" || encoding == "deflate";
}

bool AnswerHead::isChunked() const
{
    return m_reply.rawHeader("Transfer-Encoding").toLower().contains("chunked");
}

std::optional<qint64> AnswerHead::length() const
{
    bool isNumber = false;
    const QByteArray text = m_reply.rawHeader("Content-Length").split(',').last().trimmed();
    const qint64 length = text.toLongLong(&isNumber);
    if (!isNumber || length < 0)
        return std::nullopt;
    return length;
}

std::optional<qint64> AnswerHead::firstByte() const
{
    const QByteArray unit = "bytes ";
    const QByteArray text = m_reply.rawHeader("Content-Range").trimmed().toLower();
    bool isNumber = false;
    const qint64 first =
        text.mid(unit.size(), text.indexOf('-') - unit.size()).toLongLong(&isNumber);
    if (!text.startsWith(unit) || !isNumber)
        return std::nullopt;
    return first;
}

QByteArray AnswerHead::lastModified() const
{
    const QByteArray separator = "GMT, ";
    const QByteArray text = m_reply.rawHeader("Last-Modified").trimmed();
    const int end = text.lastIndexOf(separator);
    return end < 0 ? text : text.mid(end + separator.size());
}

QByteArray AnswerHead::entityTag() const
{
    const QByteArray weak = "W/";
    const QByteArray text = m_reply.rawHeader("ETag").trimmed();
    if (text.size() < 2 || !text.endsWith('"'))
        return QByteArray();
    // A tag may hold commas, but no quotes.
    const int begin = text.lastIndexOf('"', text.size() - 2);
    if (begin < 0)
        return QByteArray();
    return text.left(begin).endsWith(weak) ? weak + text.mid(begin) : text.mid(begin);
}

QByteArray AnswerHead::strongTag() const
{
    const QByteArray tag = entityTag();
    return tag.startsWith('"') ? tag : QByteArray();
}

} // namespace Kavo::Managers
