#include "downloads/Freshness.h"

#include "downloads/AnswerHead.h"

#include <QHash>
#include <QLocale>
#include <QNetworkReply>

namespace Kavo::Managers {

namespace {

using Directives = QHash<QByteArray, QByteArray>;

/// The directives of the Cache-Control header in lower case.
Directives directivesOf(const QNetworkReply &answer)
{
    Directives directives;
    const QList<QByteArray> parts = answer.rawHeader("Cache-Control").toLower().split(',');
    for (const QByteArray &part : parts) {
        const int equals = part.indexOf('=');
        if (equals < 0)
            directives.insert(part.trimmed(), QByteArray());
        else
            directives.insert(part.left(equals).trimmed(),
                              part.mid(equals + 1).replace('"', "").trimmed());
    }
    return directives;
}

QDateTime httpDate(const QByteArray &text)
{
    QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(text.trimmed()),
                                             QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
    date.setTimeSpec(Qt::UTC);
    return date;
}

/// Invalid if the server sends no such time.
QDateTime expirationOf(const QNetworkReply &answer, const Directives &directives)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (!directives.contains("max-age"))
        return httpDate(answer.rawHeader("Expires"));
    bool isNumber = false;
    const qint64 lifetime = directives.value("max-age").toLongLong(&isNumber);
    // A cache on the way may have used up part of the time.
    const qint64 rest = lifetime - answer.rawHeader("Age").trimmed().toLongLong();
    constexpr qint64 longest = 365 * 24 * 3600;
    return isNumber ? now.addSecs(qMin(rest, longest)) : QDateTime();
}

/// Whether the file was changed less than a second before it was sent. If it changes again in the
/// same second, its date stays the same, and so does an entity tag that is made of date and length,
/// as many servers do.
bool isFreshlyChanged(const QNetworkReply &answer)
{
    constexpr qint64 rest = 2;
    const QDateTime sent = httpDate(answer.rawHeader("Date"));
    const QDateTime changed = httpDate(AnswerHead(answer).lastModified());
    return sent.isValid() && changed.isValid() && changed.secsTo(sent) < rest;
}

} // namespace

Freshness::Freshness(const QNetworkReply &answer)
{
    const Directives directives = directivesOf(answer);
    if (directives.contains("no-store") || answer.rawHeader("Vary").contains('*') ||
        isFreshlyChanged(answer))
        return;
    // After a redirect the headers of both answers may be present.
    const bool isRedirected = answer.url() != answer.request().url();
    if (!isRedirected && !directives.contains("no-cache"))
        m_expiration = expirationOf(answer, directives);
    if (m_expiration <= QDateTime::currentDateTimeUtc())
        m_expiration = QDateTime();
    const AnswerHead head(answer);
    m_mayBeKept = m_expiration.isValid() || !head.entityTag().isEmpty() ||
                  answer.header(QNetworkRequest::LastModifiedHeader).toDateTime().isValid();
}

} // namespace Kavo::Managers
