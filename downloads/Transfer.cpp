#include "downloads/Transfer.h"

#include "core/Log.h"
#include "downloads/AnswerCache.h"
#include "downloads/AnswerHead.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <utility>

namespace Kavo::Managers {

using Models::Download;

namespace {

/// The size of the network layer's read buffer in bytes. Without a limit a server that is faster
/// than the disk would fill the memory.
constexpr qint64 ReadBufferSize = 1024 * 1024;

const QByteArray AcceptEncoding = "Accept-Encoding";
const QByteArray Range = "Range";
const QByteArray IfRange = "If-Range";

} // namespace

Transfer::Transfer(QNetworkAccessManager &network, const QSharedPointer<Download> &download,
                   const QString &growsAt, QObject *parent)
    : QObject(parent)
    , m_network(network)
    , m_download(download)
    , m_file(download->getPath(), growsAt)
{}

void Transfer::start()
{
    QNetworkRequest &request = *m_download->getRequest();
    // Qt's own saving is off; keepForLater() stores complete answers.
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    if (m_download->isRestart()) {
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                             QNetworkRequest::PreferNetwork);
        follow(PartialFile::Plan::Restart);
        return;
    }
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    // Otherwise Qt would ask all caches on the way to be bypassed.
    request.setRawHeader("Cache-Control", "no-transform");
    // The length of a compressed answer is not the length of the file, and a part of it cannot be
    // resumed.
    request.setRawHeader(AcceptEncoding, "identity");
    sendProbe();
}

void Transfer::sendProbe()
{
    m_download->setProcess(Download::Process::Header);
    QNetworkReply *probe = m_network.head(*m_download->getRequest());
    connect(probe, &QNetworkReply::errorOccurred, this,
            [this, probe] { reportError(probe->errorString()); });
    connect(probe, &QNetworkReply::finished, this, [this, probe] { onProbed(*probe); });
}

void Transfer::onProbed(QNetworkReply &probe)
{
    const AnswerHead answer(probe);
    const std::optional<qint64> length = answer.length();
    const QVariant modified = probe.header(QNetworkRequest::LastModifiedHeader);
    probe.deleteLater();
    // The head of an error page says nothing about the file.
    const bool answered = probe.error() == QNetworkReply::NoError;
    const FileOrigin origin = originOf(answer, answered);
    std::optional<qint64> size;
    if (answered && length && modified.isValid()) {
        size = length;
        m_download->setFileSize(*size);
    }
    follow(m_file.plan(size, origin));
}

void Transfer::follow(PartialFile::Plan plan)
{
    switch (plan) {
    case PartialFile::Plan::Finish:
        deleteLater();
        emit fileSettled();
        m_download->setProcess(Download::Process::Finished);
        return;
    case PartialFile::Plan::Resume:
        askForTheRest();
        break;
    case PartialFile::Plan::Restart:
        m_file.discard();
        break;
    case PartialFile::Plan::Append:
        break;
    }
    m_download->setProcess(Download::Process::Download);
    requestBody();
}

/// If the file has changed since, the server sends all of it instead of the rest.
void Transfer::askForTheRest()
{
    QNetworkRequest &request = *m_download->getRequest();
    request.setRawHeader(Range, "bytes=" + QByteArray::number(m_file.size()) + '-');
    request.setRawHeader(IfRange, m_file.origin().validator());
}

void Transfer::requestBody()
{
    m_hasFailed = false;
    m_reply = m_network.get(*m_download->getRequest());
    m_reply->setReadBufferSize(ReadBufferSize);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &Transfer::onAnswered);
    connect(m_reply, &QNetworkReply::readyRead, this, &Transfer::writeBody);
    connect(m_reply, &QNetworkReply::downloadProgress, this,
            [this](qint64, qint64 total) { onProgress(total); });
    connect(m_reply, &QNetworkReply::errorOccurred, this,
            [this] { reportError(m_reply->errorString()); });
    connect(m_reply, &QNetworkReply::finished, this, &Transfer::onFinished);
}

void Transfer::onAnswered()
{
    const AnswerHead answer(*m_reply);
    if (!answer.bringsTheFile())
        return;
    QNetworkRequest &request = *m_download->getRequest();
    if (answer.isCompressed() && request.hasRawHeader(AcceptEncoding)) {
        // Some servers compress although the request forbids it. Qt decompresses the answer, but
        // only if the request does not set an encoding, and only from the first byte on.
        request.setRawHeader(AcceptEncoding, QByteArray());
        askForTheWhole();
        return;
    }
    if (request.hasRawHeader(Range) && !isTheRest(answer)) {
        if (answer.isPart()) {
            askForTheWhole();
            return;
        }
        startAnew();
    }
    if (isTooLarge(m_file.size() + answer.length().value_or(0)))
        giveUp();
}

/// Whether the body continues the existing part. Some servers send another range, and some ignore
/// If-Range.
bool Transfer::isTheRest(const AnswerHead &answer) const
{
    return answer.firstByte() == m_file.size() &&
           m_file.origin().agreesWith(originOf(answer, true));
}

/// Drops the existing part: the body is the file from its first byte on.
void Transfer::startAnew()
{
    QNetworkRequest &request = *m_download->getRequest();
    request.setRawHeader(Range, QByteArray());
    request.setRawHeader(IfRange, QByteArray());
    m_file.discard();
}

/// Repeats the request after an unusable answer.
void Transfer::askForTheWhole()
{
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    startAnew();
    requestBody();
}

FileOrigin Transfer::originOf(const AnswerHead &answer, bool bringsTheFile) const
{
    const QUrl address = m_download->getRequest()->url();
    if (!bringsTheFile)
        return FileOrigin::of(address, {}, {});
    return FileOrigin::of(address, answer.lastModified(), answer.strongTag());
}

/// Data that is not written is read as well, so that it does not pile up in memory.
void Transfer::writeBody()
{
    // An aborted reply cannot be read.
    if (m_hasGivenUp)
        return;
    const AnswerHead answer(*m_reply);
    const bool isWanted = !answer.isErrorPage();
    if (isWanted) {
        if (m_download->isHashed())
            m_file.hashContent();
        m_file.open(originOf(answer, answer.bringsTheFile()));
    }
    m_buffer.resize(static_cast<int>(ReadBufferSize));
    const qint64 before = m_receivedBytes;
    qint64 received = 0;
    while ((received = m_reply->read(m_buffer.data(), m_buffer.size())) > 0) {
        if (isWanted)
            m_file.append(m_buffer.constData(), received);
        if (m_download->isRestart())
            m_checksum.add(m_buffer.constData(), received);
        m_receivedBytes += received;
    }
    // Progress signals are throttled, so the last bytes before a pause would not be counted.
    if (m_receivedBytes > before)
        m_download->setCurrentSize(m_file.size());
    if (isTooLarge(m_file.size()))
        giveUp();
}

bool Transfer::isTooLarge(qint64 size) const
{
    const qint64 largest = m_download->getLargestSize();
    return largest > 0 && size > largest;
}

/// Aborts the transfer, which might not end by itself.
void Transfer::giveUp()
{
    const QString reason = QStringLiteral("more than %1 bytes").arg(m_download->getLargestSize());
    logLine(QStringLiteral("Size Error : %1 : %2").arg(m_download->getPath(), reason));
    m_hasFailed = true;
    m_hasGivenUp = true;
    m_download->fail(reason);
    // Aborting must not be reported as another error.
    disconnect(m_reply, &QNetworkReply::errorOccurred, this, nullptr);
    m_reply->abort();
}

void Transfer::onProgress(qint64 bytesTotal)
{
    if (isLostInCache())
        return;
    if (m_download->getFileSize() == 0)
        m_download->setFileSize(bytesTotal);
    m_download->setCurrentSize(m_file.size());
}

/// Whether the server confirmed that nothing has changed, but the cached body turned out to be
/// damaged.
bool Transfer::isLostInCache() const
{
    return AnswerHead(*m_reply).isUnchanged() && !m_hasPassedCache &&
           m_reply->error() == QNetworkReply::NoError;
}

void Transfer::passCache()
{
    m_hasPassedCache = true;
    m_reply->deleteLater();
    m_download->getRequest()->setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                                           QNetworkRequest::AlwaysNetwork);
    requestBody();
}

void Transfer::onFinished()
{
    if (isLostInCache()) {
        passCache();
        return;
    }
    writeBody();
    if (isCutShort())
        reportError(QStringLiteral("Connection closed"));
    const AnswerHead answer(*m_reply);
    if (answer.refusesTheRange() || m_hasGivenUp)
        m_file.discard();
    const qint64 present = m_file.size();
    if (!m_hasFailed)
        m_download->setDigest(m_file.digest());
    m_file.settle(!m_hasFailed && m_file.lostBytes() == 0);
    reportLoss();
    keepForLater();
    // The length of an error page is not the length of the file, and the error explains why the
    // file is incomplete.
    if (!answer.isErrorPage() && !m_hasGivenUp)
        logShortfall(present);
    m_reply->deleteLater();
    deleteLater();
    emit fileSettled();
    m_download->setProcess(Download::Process::Finished);
    emit ended();
}

/// A connection that breaks in the middle of a body is an error. Qt does not always notice: if the
/// end of the connection arrives together with the last bytes, it counts as the end of the body. A
/// truncated archive must not count as complete, because its installation would remove the
/// installed version.
bool Transfer::isCutShort() const
{
    const AnswerHead answer(*m_reply);
    if (m_reply->error() != QNetworkReply::NoError || answer.isCompressed())
        return false;
    // Bytes that could not be written do not mean a broken connection.
    const qint64 lost = m_file.lostBytes();
    const std::optional<qint64> announced = answer.length();
    if (announced)
        return m_receivedBytes < *announced;
    // A chunked body has no announced length; the probe has told the length of the file.
    return answer.isChunked() && m_file.size() + lost < m_download->getFileSize();
}

/// Bytes that are missing on the disk are an error of the download: installing the incomplete
/// archive would remove the installed version.
void Transfer::reportLoss()
{
    if (m_file.lostBytes() == 0)
        return;
    const QString loss = QStringLiteral("%1 bytes were not written").arg(m_file.lostBytes());
    logLine(QStringLiteral("Write Error : %1 : %2").arg(m_download->getPath(), loss));
    // An error is reported once.
    if (!std::exchange(m_hasFailed, true))
        m_download->fail(loss);
}

/// Keeps the answer for the next start if the file is fetched as a whole each time.
void Transfer::keepForLater() const
{
    const AnswerHead answer(*m_reply);
    auto *cache = qobject_cast<AnswerCache *>(m_network.cache());
    if (!cache || m_hasFailed || !m_download->isRestart() || !answer.isMeasuredWhole() ||
        answer.length() != m_receivedBytes)
        return;
    cache->keep(*m_reply, m_download->getPath(), m_checksum.result(),
                m_download->isAlwaysAsked() ? AnswerCache::Asking::Always
                                            : AnswerCache::Asking::WhenStale);
}

void Transfer::logShortfall(qint64 present) const
{
    const qint64 expected = m_download->getFileSize();
    if (expected > 0 && present != expected)
        logLine(QStringLiteral("Size Error : %1 : %2 of %3 bytes")
                    .arg(m_download->getPath())
                    .arg(present)
                    .arg(expected));
}

void Transfer::reportError(const QString &text)
{
    m_hasFailed = true;
    logLine(QStringLiteral("Network Error : ") + text);
    m_download->fail(text);
}

} // namespace Kavo::Managers
