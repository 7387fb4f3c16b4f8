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

/// How much of a body the network layer may hold before it stops reading from the connection, in
/// bytes. Without a limit a fast server fills the memory with what the disk has not taken yet.
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
    // What is worth it is kept by us, when it has come whole.
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    if (m_download->isRestart()) {
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                             QNetworkRequest::PreferNetwork);
        follow(PartialFile::Plan::Restart);
        return;
    }
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    // Otherwise Qt would have all caches on the way passed over.
    request.setRawHeader("Cache-Control", "no-transform");
    // The length of a compressed answer is not that of the file, and a part of one cannot be
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
    // What the server says of an error page is nothing about the file.
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

/// The server sends the whole instead of the rest when the file has changed since.
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
        // Some servers compress whatever they are asked for. Qt undoes it, but only for a request
        // that does not choose an encoding, and only from the first byte on.
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

/// Whether the body follows on the bytes that are there. Some servers mistake the place, and some
/// do not care for what they are asked in If-Range.
bool Transfer::isTheRest(const AnswerHead &answer) const
{
    return answer.firstByte() == m_file.size() &&
           m_file.origin().agreesWith(originOf(answer, true));
}

/// Gives up what is there: what comes is the file from its first byte on.
void Transfer::startAnew()
{
    QNetworkRequest &request = *m_download->getRequest();
    request.setRawHeader(Range, QByteArray());
    request.setRawHeader(IfRange, QByteArray());
    m_file.discard();
}

/// Asks once more, for an answer that is of no use.
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

/// What has no place in the file is read all the same, so that it does not pile up.
void Transfer::writeBody()
{
    // What has been ended can be read no more.
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
    // Progress is reported every now and then only, so that bytes before a pause would not show.
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

/// Ends the transfer, which may never end by itself.
void Transfer::giveUp()
{
    const QString reason = QStringLiteral("more than %1 bytes").arg(m_download->getLargestSize());
    logLine(QStringLiteral("Size Error : %1 : %2").arg(m_download->getPath(), reason));
    m_hasFailed = true;
    m_hasGivenUp = true;
    m_download->fail(reason);
    // The end that we make is no error of its own.
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

/// Whether the body that has not changed is to be had no more: the cache has found it damaged.
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
    // The length of a page is not that of the file, and the error says why that is not whole.
    if (!answer.isErrorPage() && !m_hasGivenUp)
        logShortfall(present);
    m_reply->deleteLater();
    deleteLater();
    emit fileSettled();
    m_download->setProcess(Download::Process::Finished);
    emit ended();
}

/// A connection that ends in mid-body is an error, but Qt finds out only sometimes: when the end
/// arrives together with the last bytes, it passes for that of the body. An archive that is cut
/// short must not be taken for a whole one, since installing it removes the version before.
bool Transfer::isCutShort() const
{
    const AnswerHead answer(*m_reply);
    if (m_reply->error() != QNetworkReply::NoError || answer.isCompressed())
        return false;
    // What the disk did not take was not cut off by the network.
    const qint64 lost = m_file.lostBytes();
    const std::optional<qint64> announced = answer.length();
    if (announced)
        return m_receivedBytes < *announced;
    // Chunks do not tell how long the body is; the probe has told how long the file is.
    return answer.isChunked() && m_file.size() + lost < m_download->getFileSize();
}

/// Bytes that are missing on the disk are an error of the download: to install what is left of an
/// archive would remove the version before.
void Transfer::reportLoss()
{
    if (m_file.lostBytes() == 0)
        return;
    const QString loss = QStringLiteral("%1 bytes were not written").arg(m_file.lostBytes());
    logLine(QStringLiteral("Write Error : %1 : %2").arg(m_download->getPath(), loss));
    // An error is told once.
    if (!std::exchange(m_hasFailed, true))
        m_download->fail(loss);
}

/// Spares the next start the body, when it is one that is fetched whole each time.
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
