#include "tests/support/HttpConnection.h"

#include "tests/support/Literals.h"
#include "tests/support/TestHttpServer.h"

#include <QLocale>
#include <QTcpSocket>

#include <algorithm>
#include <sys/socket.h>

namespace Kavo::Testing {

namespace {

constexpr qint64 PieceSize = 64 * 1024;
/// No further piece is written while the socket holds more unsent bytes than this.
constexpr qint64 HighWater = 256 * 1024;

QByteArray httpDate(const QDateTime &date)
{
    return QLocale::c().toString(date.toUTC(), "ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s).toLatin1();
}

QByteArray headerLine(const QByteArray &name, const QByteArray &value)
{
    return name + ": " + value + "\r\n";
}

} // namespace

HttpConnection::HttpConnection(QTcpSocket *socket, TestHttpServer *server)
    : QObject(server)
    , m_socket(socket)
    , m_server(server)
{
    m_socket->setParent(this);
    // Head and body are separate writes. Without this option, the second one would wait for the
    // acknowledgement of the first.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(m_socket, &QTcpSocket::readyRead, this, &HttpConnection::readRequests);
    connect(m_socket, &QTcpSocket::bytesWritten, this, &HttpConnection::pump);
    connect(m_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
}

void HttpConnection::release(const QByteArray &path)
{
    if (!m_held || m_request.path != path)
        return;
    m_held = false;
    m_resource.holdsHead = false;
    m_resource.holdsGet = false;
    m_resource.holdAfter.reset();
    if (!m_headSent)
        sendHead();
    pump();
}

void HttpConnection::readRequests()
{
    m_input += m_socket->readAll();
    const int end = m_input.indexOf("\r\n\r\n");
    if (m_answering || end < 0)
        return;
    m_request = HttpRequest::parse(m_input.left(end));
    m_input.remove(0, end + 4);
    begin();
}

void HttpConnection::begin()
{
    m_answering = true;
    m_headSent = false;
    m_answer = Answer();
    m_resource = m_server->receive(m_request);
    if (m_request.method == "HEAD")
        prepareHead();
    else
        prepareGet();
    m_held = m_request.method == "HEAD" ? m_resource.holdsHead : m_resource.holdsGet;
    if (m_held)
        return;
    sendHead();
    pump();
}

void HttpConnection::prepareHead()
{
    if (!m_resource.redirect.isEmpty()) {
        m_answer.status = HttpStatus::FOUND;
        m_answer.headers += headerLine("Location", m_resource.redirect);
        return;
    }
    m_answer.announcesLength = false;
    if (m_resource.failsOnlyGet)
        m_resource.getStatus.reset();
    if (m_resource.headStatus) {
        m_answer.status = *m_resource.headStatus;
        return;
    }
    m_answer.status = m_resource.getStatus.value_or(HttpStatus::OK);
    if (!m_resource.headWithoutLength) {
        const qint64 length = m_resource.headLength.value_or(m_resource.size());
        m_answer.headers += headerLine("Content-Length", QByteArray::number(length));
    }
    if (m_resource.headWithoutDate)
        return;
    addValidators();
}

void HttpConnection::addValidators()
{
    // An invalid date stands for a server that sends no date.
    if (m_resource.lastModified.isValid())
        m_answer.headers += headerLine("Last-Modified", httpDate(m_resource.lastModified));
    if (!m_resource.entityTag.isEmpty())
        m_answer.headers += headerLine("ETag", m_resource.entityTag);
}

/// Whether the client's part belongs to the current version of the file. A weak tag never matches.
bool HttpConnection::isUnchanged() const
{
    const QByteArray known = m_request.header("If-Range");
    if (known.isNull() || m_resource.ignoresIfRange)
        return true;
    if (m_resource.distrustsIfRange)
        return false;
    if (known.contains('"'))
        return known.startsWith('"') && known == m_resource.entityTag;
    return known == httpDate(m_resource.lastModified);
}

/// Whether the client already has the current version of the file.
bool HttpConnection::isKnown() const
{
    if (!m_resource.knowsWhatIsUnchanged)
        return false;
    if (m_request.hasHeader("If-None-Match"))
        return m_request.header("If-None-Match") == m_resource.entityTag;
    return m_request.hasHeader("If-Modified-Since") &&
           m_request.header("If-Modified-Since") == httpDate(m_resource.lastModified);
}

void HttpConnection::prepareGet()
{
    if (!m_resource.redirect.isEmpty()) {
        m_answer.status = HttpStatus::FOUND;
        m_answer.headers += headerLine("Location", m_resource.redirect);
        return;
    }
    if (isKnown()) {
        m_answer.status = HttpStatus::NOT_MODIFIED;
        m_answer.announcesLength = false;
        addValidators();
        return;
    }
    m_answer.status = m_resource.getStatus.value_or(HttpStatus::OK);
    m_answer.end = m_resource.size();
    // Range does not change the answer to a failed request.
    if (m_answer.status == HttpStatus::OK && m_request.hasHeader("Range") &&
        !m_resource.ignoresRange && isUnchanged())
        prepareRange();
    if (m_resource.compressesUnasked ||
        (m_resource.compresses && m_request.header("Accept-Encoding").contains("gzip")))
        compress();
    m_answer.chunked = m_resource.chunked;
    m_answer.announcesLength = !m_resource.chunked && !m_resource.getWithoutLength;
    m_answer.closes = m_resource.getWithoutLength;
    if (m_answer.chunked)
        m_answer.headers += headerLine("Transfer-Encoding", "chunked");
    if (m_answer.status != HttpStatus::PARTIAL_CONTENT || !m_resource.hidesMarksOfRange)
        addValidators();
}

void HttpConnection::prepareRange()
{
    const QByteArray size = QByteArray::number(m_resource.size());
    const QByteArray range = m_request.header("Range").mid(int(qstrlen("bytes=")));
    const int dash = range.indexOf('-');
    const qint64 first = range.left(dash).toLongLong();
    if (m_resource.refusesRange || first >= m_resource.size()) {
        m_answer.status = HttpStatus::RANGE_NOT_SATISFIABLE;
        m_answer.headers += headerLine("Content-Range", "bytes */" + size);
        m_resource.generatedSize.reset();
        m_resource.body = "<html>Range not satisfiable</html>";
        m_answer.end = m_resource.size();
        return;
    }
    if (dash + 1 < range.size())
        m_answer.end = std::min(m_answer.end, range.mid(dash + 1).toLongLong() + 1);
    m_answer.status = HttpStatus::PARTIAL_CONTENT;
    m_answer.end -= m_resource.rangeShortage;
    m_answer.position = std::min(first + m_resource.rangeDisplacement, m_answer.end);
    if (m_resource.damagesRange)
        std::reverse(m_resource.body.begin(), m_resource.body.end());
    if (m_resource.hidesContentRange)
        return;
    m_answer.headers +=
        headerLine("Content-Range", "bytes " + QByteArray::number(m_answer.position) + '-' +
                                        QByteArray::number(m_answer.end - 1) + '/' + size);
}

void HttpConnection::compress()
{
    m_resource.body = gzipped(m_resource.read(m_answer.position, m_answer.end - m_answer.position));
    m_resource.generatedSize.reset();
    m_answer.position = 0;
    m_answer.end = m_resource.size();
    m_answer.headers += headerLine("Content-Encoding", "gzip");
}

void HttpConnection::sendHead()
{
    m_headSent = true;
    QByteArray head = "HTTP/1.1 " + QByteArray::number(m_answer.status) + " Answer\r\n";
    for (const auto &header : qAsConst(m_resource.headers))
        head += headerLine(header.first, header.second);
    head += m_answer.headers;
    if (m_answer.announcesLength)
        head += headerLine("Content-Length", QByteArray::number(m_answer.end - m_answer.position));
    if (m_answer.closes)
        head += headerLine("Connection", "close");
    m_socket->write(head + "\r\n");
}

void HttpConnection::pump()
{
    if (!m_answering || m_held)
        return;
    while (m_answer.position < m_answer.end) {
        if (m_socket->bytesToWrite() > HighWater || stopsHere())
            return;
        sendPiece();
    }
    if (!stopsHere())
        complete();
}

void HttpConnection::sendPiece()
{
    qint64 length = std::min(PieceSize, m_answer.end - m_answer.position);
    for (const auto &stop : {m_resource.cutAfter, m_resource.resetAfter, m_resource.holdAfter}) {
        if (stop && *stop > m_answer.sent)
            length = std::min(length, *stop - m_answer.sent);
    }
    const QByteArray piece = m_resource.read(m_answer.position, length);
    m_answer.position += length;
    m_answer.sent += length;
    if (!m_answer.chunked)
        m_socket->write(piece);
    else if (m_resource.cutsInsideChunk && m_resource.cutAfter == m_answer.sent)
        m_socket->write(QByteArray::number(piece.size() + 1, 16) + "\r\n" + piece);
    else
        m_socket->write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
}

bool HttpConnection::stopsHere()
{
    if (m_request.method == "HEAD")
        return false;
    if (m_resource.holdAfter == m_answer.sent) {
        m_held = true;
        return true;
    }
    if (m_resource.cutAfter == m_answer.sent) {
        m_answering = false;
        m_socket->disconnectFromHost();
        return true;
    }
    if (m_resource.resetAfter == m_answer.sent) {
        // Resets only after everything was written; bytesWritten() leads here again.
        if (m_socket->bytesToWrite() == 0)
            reset();
        return true;
    }
    return false;
}

void HttpConnection::reset()
{
    m_answering = false;
    const linger hard = {1, 0};
    ::setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard,
                 sizeof hard);
    m_socket->abort();
}

void HttpConnection::complete()
{
    if (m_answer.chunked && m_request.method != "HEAD")
        m_socket->write("0\r\n\r\n");
    m_answering = false;
    if (m_answer.closes)
        m_socket->disconnectFromHost();
    else
        readRequests();
}

} // namespace Kavo::Testing
