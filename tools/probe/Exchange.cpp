#include "tools/probe/Exchange.h"

#include "downloads/AnswerHead.h"
#include "downloads/Download.h"
#include "downloads/Freshness.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslCipher>
#include <QSslConfiguration>

namespace Kavo::Tools {

namespace {

constexpr int WholeFactor = 20;
/// As in the program's transfers, so that a fast server does not fill the memory.
constexpr qint64 ReadBufferSize = 1024 * 1024;

/// Requests and redirects are the same as in the program.
QNetworkRequest requestOf(const Question &question)
{
    Models::Download download(QString(), true, true);
    QNetworkRequest request = *download.getRequest();
    request.setUrl(question.address);
    for (const auto &header : question.headers)
        request.setRawHeader(header.first, header.second);
    return request;
}

QDateTime firstExpiry(const QList<QSslCertificate> &chain)
{
    QDateTime first;
    for (const QSslCertificate &certificate : chain) {
        if (!first.isValid() || certificate.expiryDate() < first)
            first = certificate.expiryDate();
    }
    return first;
}

} // namespace

Exchange::Exchange(QNetworkAccessManager &network, const Question &question,
                   std::chrono::milliseconds patience, QObject *parent)
    : QObject(parent)
    , m_question(question)
{
    m_answer.address = question.address;
    const QNetworkRequest request = requestOf(question);
    m_reply =
        question.method == Question::Method::Head ? network.head(request) : network.get(request);
    m_reply->setParent(this);
    m_reply->setReadBufferSize(ReadBufferSize);
    connect(m_reply, &QNetworkReply::encrypted, this, &Exchange::noteTls);
    connect(m_reply, &QNetworkReply::sslErrors, this, [this] { m_answer.isTrusted = false; });
    connect(m_reply, &QNetworkReply::redirected, this,
            [this](const QUrl &target) { m_answer.redirects.append(target); });
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &Exchange::readHead);
    connect(m_reply, &QNetworkReply::readyRead, this, &Exchange::readBody);
    connect(m_reply, &QNetworkReply::finished, this, &Exchange::onFinished, Qt::QueuedConnection);

    for (QTimer *timer : {&m_silence, &m_whole}) {
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, [this] { endEarly(Answer::End::Silent); });
    }
    m_silence.start(patience);
    m_whole.start(patience * WholeFactor);
}

void Exchange::noteTls()
{
    const QSslConfiguration tls = m_reply->sslConfiguration();
    m_answer.tls =
        TlsFacts{tls.sessionCipher().protocolString(), firstExpiry(tls.peerCertificateChain())};
}

void Exchange::readHead()
{
    m_silence.start();
    const Managers::AnswerHead head(*m_reply);
    const Managers::Freshness freshness(*m_reply);
    m_answer.status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    m_answer.contentType = m_reply->rawHeader("Content-Type").trimmed();
    m_answer.contentEncoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
    m_answer.cacheControl = m_reply->rawHeader("Cache-Control").trimmed().toLower();
    m_answer.vary = m_reply->rawHeader("Vary").trimmed();
    m_answer.length = head.length();
    m_answer.firstByte = head.firstByte();
    m_answer.hasDate = m_reply->header(QNetworkRequest::LastModifiedHeader).isValid();
    m_answer.entityTag = head.entityTag();
    m_answer.origin =
        Managers::FileOrigin::of(m_question.address, head.lastModified(), head.strongTag());
    m_answer.isMeasured = head.isMeasuredWhole();
    m_answer.isCompressed = head.isCompressed();
    m_answer.mayBeKept = freshness.mayBeKept();
    m_answer.expiration = freshness.expiration();
}

void Exchange::readBody()
{
    if (m_earlyEnd)
        return;
    m_silence.start();
    QByteArray piece;
    while (!(piece = m_reply->read(ReadBufferSize)).isEmpty()) {
        const qint64 room = m_question.kept - m_answer.body.size();
        m_answer.body += piece.left(static_cast<int>(qMin<qint64>(room, piece.size())));
        m_answer.bodySize += piece.size();
        if (m_answer.bodySize >= m_question.enough) {
            endEarly(Answer::End::Enough);
            return;
        }
    }
}

void Exchange::endEarly(Answer::End end)
{
    if (m_earlyEnd || m_reply->isFinished())
        return;
    m_earlyEnd = end;
    // The connection ends with this object. Aborting a failed reply would be another error.
    m_reply->disconnect(this);
    QMetaObject::invokeMethod(this, &Exchange::onFinished, Qt::QueuedConnection);
}

void Exchange::onFinished()
{
    m_silence.stop();
    m_whole.stop();
    if (!m_earlyEnd) {
        readHead();
        readBody();
    }
    m_answer.end = m_earlyEnd.value_or(endOfReply());
    m_answer.fault = m_reply->errorString();
    m_answer.isLost = m_reply->error() == QNetworkReply::InsecureRedirectError ||
                      m_reply->error() == QNetworkReply::TooManyRedirectsError ||
                      m_reply->error() == QNetworkReply::ProtocolUnknownError;
    m_answer.isTrusted =
        m_answer.isTrusted && m_reply->error() != QNetworkReply::SslHandshakeFailedError;
    emit ended();
}

Answer::End Exchange::endOfReply() const
{
    const bool isHead = m_question.method == Question::Method::Head;
    const bool isShort = !isHead && m_answer.status < 300 && !m_answer.isCompressed &&
                         m_answer.bodySize < m_answer.length.value_or(0);
    if (m_reply->error() == QNetworkReply::RemoteHostClosedError && m_answer.status > 0)
        return Answer::End::Cut;
    // For the network layer a status of 400 or above is an error; the caller interprets it.
    if (m_reply->error() != QNetworkReply::NoError)
        return Answer::End::Failed;
    return isShort ? Answer::End::Cut : Answer::End::Whole;
}

} // namespace Kavo::Tools
