#include "downloads/AnswerCache.h"

#include "core/Log.h"
#include "core/RegularFile.h"
#include "downloads/AnswerHead.h"
#include "downloads/BodyChecksum.h"
#include "downloads/Freshness.h"

#include <QBuffer>
#include <QFile>
#include <QNetworkReply>
#include <QScopedPointer>
#include <QStandardPaths>

namespace Kavo::Managers {

namespace {

constexpr qint64 LargestSize = Q_INT64_C(256) * 1024 * 1024;
/// Copying a larger body would block the event loop for too long.
constexpr qint64 LargestBody = Q_INT64_C(64) * 1024 * 1024;

/// The attributes of an entry that do not come from the server.
constexpr auto ChecksumAttribute = QNetworkRequest::User;
constexpr auto AlwaysAskedAttribute =
    static_cast<QNetworkRequest::Attribute>(QNetworkRequest::User + 1);

/// The headers needed to revalidate the entry and to return its body. The content type is left out:
/// Qt would compress texts, which takes longer than fetching them.
QNetworkCacheMetaData::RawHeaderList headersToKeep(const QNetworkReply &answer)
{
    const AnswerHead head(answer);
    QNetworkCacheMetaData::RawHeaderList headers{
        {"Content-Length", QByteArray::number(head.length().value_or(0))}};
    if (!head.entityTag().isEmpty())
        headers.append({"ETag", head.entityTag()});
    if (!head.lastModified().isEmpty())
        headers.append({"Last-Modified", head.lastModified()});
    return headers;
}

/// Checks the device that Qt returns; mostly without a copy.
QByteArray contentOf(QIODevice &body)
{
    const auto *buffer = qobject_cast<QBuffer *>(&body);
    return buffer ? buffer->data() : body.peek(body.size());
}

} // namespace

QString AnswerCache::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
           QStringLiteral("/http/");
}

AnswerCache::AnswerCache(const QString &folder, QObject *parent)
    : QNetworkDiskCache(parent)
    , m_trim(folder, LargestSize, this)
{
    setMaximumCacheSize(LargestSize);
    setCacheDirectory(folder);
}

void AnswerCache::keep(const QNetworkReply &answer, const QString &file, const QByteArray &checksum,
                       Asking asking)
{
    if (answer.attribute(QNetworkRequest::SourceIsFromCacheAttribute).toBool())
        return;
    // The existing entry is of an earlier state of the file.
    remove(answer.url());
    const Freshness freshness(answer);
    QFile source(file);
    if (!m_isWritable || !freshness.mayBeKept() || !openRegular(source, QIODevice::ReadOnly) ||
        source.size() > LargestBody || !m_trim.hasRoomFor(source.size()))
        return;
    const QByteArray body = source.readAll();
    // Qt never reports the end of an empty body.
    if (body.isEmpty() || BodyChecksum::of(body) != checksum)
        return;

    QNetworkCacheMetaData head;
    head.setUrl(answer.url());
    head.setSaveToDisk(true);
    head.setRawHeaders(headersToKeep(answer));
    head.setLastModified(answer.header(QNetworkRequest::LastModifiedHeader).toDateTime());
    if (asking == Asking::WhenStale)
        head.setExpirationDate(freshness.expiration());
    head.setAttributes({{QNetworkRequest::HttpStatusCodeAttribute, 200},
                        {QNetworkRequest::HttpReasonPhraseAttribute, QByteArray("OK")},
                        {ChecksumAttribute, checksum},
                        {AlwaysAskedAttribute, asking == Asking::Always}});
    insertBody(head, body);
}

void AnswerCache::insertBody(const QNetworkCacheMetaData &head, const QByteArray &body)
{
    auto *entry = qobject_cast<QFile *>(prepare(head));
    if (!entry) {
        // Logged once, not for each of thousands of pictures.
        m_isWritable = false;
        logLine(QStringLiteral("Cache cannot be written : ") + cacheDirectory());
        return;
    }
    if (entry->write(body) != body.size() || !entry->flush()) {
        remove(head.url());
        return;
    }
    m_trim.add(entry->size());
    insert(entry);
}

/// If the server fails (5xx), Qt returns the entry instead of the error, and such a reply may never
/// end. Entries that must be revalidated are exempt from that. Fresh ones are not, because Qt would
/// no longer use them without asking.
QNetworkCacheMetaData AnswerCache::metaData(const QUrl &url)
{
    QNetworkCacheMetaData head = QNetworkDiskCache::metaData(url);
    const QDateTime expiration = head.expirationDate();
    const bool isFresh = expiration.isValid() && expiration > QDateTime::currentDateTimeUtc();
    if (head.isValid() && !isFresh) {
        auto headers = head.rawHeaders();
        headers.append({QByteArray("Cache-Control"), QByteArray("must-revalidate")});
        head.setRawHeaders(headers);
    }
    return head;
}

QIODevice *AnswerCache::data(const QUrl &url)
{
    QScopedPointer<QIODevice> body(QNetworkDiskCache::data(url));
    if (!body)
        return nullptr;
    const QByteArray checksum = metaData(url).attributes().value(ChecksumAttribute).toByteArray();
    if (BodyChecksum::of(contentOf(*body)) == checksum)
        return body.take();
    logLine(QStringLiteral("Cache is damaged : ") + url.toString());
    body.reset();
    remove(url);
    return nullptr;
}

/// Called for each "not modified" answer. Qt would rewrite the entry for the new date alone; that
/// is only worth it for a new expiration time.
void AnswerCache::updateMetaData(const QNetworkCacheMetaData &told)
{
    QNetworkCacheMetaData head = QNetworkDiskCache::metaData(told.url());
    const bool isAlwaysAsked = head.attributes().value(AlwaysAskedAttribute).toBool();
    const QDateTime expiration = told.expirationDate();
    if (!head.isValid() || isAlwaysAsked || !told.saveToDisk() || !expiration.isValid() ||
        expiration <= QDateTime::currentDateTimeUtc())
        return;
    const QScopedPointer<QIODevice> body(data(told.url()));
    if (!body)
        return;
    head.setExpirationDate(expiration);
    if (m_isWritable)
        insertBody(head, body->readAll());
}

void AnswerCache::clear()
{
    m_trim.clear();
}

/// Qt would scan all files in one go, now and whenever the cache is too large.
qint64 AnswerCache::expire()
{
    return 0;
}

} // namespace Kavo::Managers
