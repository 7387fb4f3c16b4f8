#include "downloads/Transfer.h"

#include "core/Log.h"

#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>

namespace Kavo::Managers {

using Models::Download;

namespace {

/// How much of a body the network layer may hold before it stops reading from the connection, in
/// bytes. Without a limit a fast server fills the memory with what the disk has not taken yet.
constexpr qint64 ReadBufferSize = 1024 * 1024;

const QByteArray AcceptEncoding = "Accept-Encoding";

/// Whether the body comes in an encoding that Qt can undo.
bool isCompressed(const QNetworkReply &reply)
{
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    return encoding == "gzip" || encoding == "deflate";
}

/// The length that the answer announces. Qt sometimes keeps the headers of a redirect in front of
/// those of the final answer ("145, 5000") and then takes the redirect's length for that of the
/// file; the last one counts.
QVariant announcedLength(const QNetworkReply &reply)
{
    bool isNumber = false;
    const QByteArray text = reply.rawHeader("Content-Length").split(',').last().trimmed();
    const qint64 length = text.toLongLong(&isNumber);
    return isNumber && length >= 0 ? QVariant(length) : QVariant();
}

/// Whether the body is the file or a part of it. Of a page that tells of an error, neither length
/// nor date nor encoding say anything about the file.
bool bringsTheFile(const QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return status == 200 || status == 206;
}

} // namespace

Transfer::Transfer(QNetworkAccessManager &network, const QSharedPointer<Download> &download,
                   QObject *parent)
    : QObject(parent)
    , m_network(network)
    , m_download(download)
    , m_file(download->getPath())
{}

void Transfer::start()
{
    if (m_download->isRestart()) {
        sendGet();
        return;
    }
    // The length of a compressed answer is not that of the file, and a part of one cannot be
    // resumed.
    m_download->getRequest()->setRawHeader(AcceptEncoding, "identity");
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
    const QVariant length = announcedLength(probe);
    const QVariant modified = probe.header(QNetworkRequest::LastModifiedHeader);
    probe.deleteLater();
    // What the server says of an error page is nothing about the file.
    const bool answered = probe.error() == QNetworkReply::NoError;
    if (answered && length.isValid() && modified.isValid()) {
        const qint64 size = length.toLongLong();
        m_download->setFileSize(size);
        if (isCompleteOnDisk(size)) {
            deleteLater();
            m_download->setProcess(Download::Process::Finished);
            return;
        }
    }
    sendGet();
}

bool Transfer::isCompleteOnDisk(qint64 announcedSize)
{
    const QFileInfo file(m_download->getPath());
    if (!file.isFile())
        return false;
    if (file.size() == announcedSize)
        return true;
    if (file.size() < announcedSize)
        m_download->getRequest()->setRawHeader("Range",
                                               "bytes=" + QByteArray::number(file.size()) + '-');
    else
        QFile::remove(m_download->getPath());
    return false;
}

void Transfer::sendGet()
{
    if (m_download->getProcess() == Download::Process::Idle)
        QFile::remove(m_download->getPath());
    m_download->setProcess(Download::Process::Download);
    requestBody();
}

void Transfer::requestBody()
{
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

/// Some servers compress whatever they are asked for. Qt undoes it, but only for a request that
/// does not choose an encoding, and only from the first byte on.
void Transfer::onAnswered()
{
    QNetworkRequest &request = *m_download->getRequest();
    if (!bringsTheFile(*m_reply) || !isCompressed(*m_reply) ||
        !request.hasRawHeader(AcceptEncoding))
        return;
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    QFile::remove(m_download->getPath());
    request.setRawHeader(AcceptEncoding, QByteArray());
    request.setRawHeader("Range", QByteArray());
    requestBody();
}

void Transfer::writeBody()
{
    if (!openFile())
        return;
    m_buffer.resize(static_cast<int>(ReadBufferSize));
    const qint64 before = m_receivedBytes;
    qint64 received = 0;
    while ((received = m_reply->read(m_buffer.data(), m_buffer.size())) > 0) {
        // A full disk shows in the count alone.
        const qint64 written = m_file.write(m_buffer.constData(), received);
        m_lostBytes += received - qMax<qint64>(written, 0);
        m_receivedBytes += received;
    }
    // Progress is reported every now and then only, so that bytes before a pause would not show.
    if (m_receivedBytes > before)
        m_download->setCurrentSize(m_file.size());
}

bool Transfer::openFile()
{
    if (m_file.isOpen() || m_file.open(QIODevice::Append | QIODevice::Unbuffered))
        return true;
    // Nobody empties the buffer now; with a limit the transfer would never end.
    m_reply->setReadBufferSize(0);
    return false;
}

void Transfer::onProgress(qint64 bytesTotal)
{
    if (m_download->getFileSize() == 0)
        m_download->setFileSize(bytesTotal);
    m_download->setCurrentSize(m_file.size());
}

void Transfer::onFinished()
{
    writeBody();
    m_file.close();
    if (isCutShort())
        reportError(QStringLiteral("Connection closed"));
    logShortfall();
    m_reply->deleteLater();
    deleteLater();
    m_download->setProcess(Download::Process::Finished);
    emit ended();
}

/// A connection that ends in mid-body is an error, but Qt finds out only sometimes: when the end
/// arrives together with the last bytes, it passes for that of the body. An archive that is cut
/// short must not be taken for a whole one, since installing it removes the version before.
bool Transfer::isCutShort() const
{
    if (m_reply->error() != QNetworkReply::NoError || isCompressed(*m_reply))
        return false;
    const qint64 unread = m_reply->bytesAvailable();
    const QVariant announced = announcedLength(*m_reply);
    if (announced.isValid())
        return m_receivedBytes + unread < announced.toLongLong();
    // Chunks do not tell how long the body is; the probe has told how long the file is.
    const bool chunked = m_reply->rawHeader("Transfer-Encoding").toLower().contains("chunked");
    return chunked && m_file.size() + unread < m_download->getFileSize();
}

void Transfer::logShortfall()
{
    const QString path = m_download->getPath();
    if (m_lostBytes > 0)
        logLine(QStringLiteral("Write Error : %1 : %2 bytes were not written")
                    .arg(path)
                    .arg(m_lostBytes));
    const qint64 expected = m_download->getFileSize();
    const QFileInfo file(path);
    const qint64 present = file.isFile() ? file.size() : 0;
    if (expected > 0 && present != expected)
        logLine(QStringLiteral("Size Error : %1 : %2 of %3 bytes")
                    .arg(path)
                    .arg(present)
                    .arg(expected));
}

void Transfer::reportError(const QString &text)
{
    logLine(QStringLiteral("Network Error : ") + text);
    m_download->fail(text);
}

} // namespace Kavo::Managers
