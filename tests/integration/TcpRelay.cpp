#include "tests/integration/TcpRelay.h"

#include <QTcpSocket>

namespace Kavo::Testing {

namespace {

/// The limit of buffered bytes on the way to a client. It is small, so that the client notices a
/// cut early.
constexpr qint64 BufferSize = 64 * 1024;
const char *const HandedOn = "handedOn";

} // namespace

TcpRelay::TcpRelay(const QUrl &server) : m_server(server)
{
    if (!m_listener.listen(QHostAddress::LocalHost))
        qFatal("No loopback port to listen on");
    connect(&m_listener, &QTcpServer::newConnection, this, &TcpRelay::join);
}

QString TcpRelay::url() const
{
    QUrl url = m_server;
    url.setPort(m_listener.serverPort());
    return url.toString();
}

void TcpRelay::reset()
{
    m_sentByServer = 0;
    m_saidByClients.clear();
}

void TcpRelay::join()
{
    QTcpSocket *client = m_listener.nextPendingConnection();
    auto *server = new QTcpSocket(client);
    server->setReadBufferSize(BufferSize);
    connect(client, &QTcpSocket::readyRead, server, [this, client, server] {
        const QByteArray said = client->readAll();
        m_saidByClients += said;
        server->write(said);
    });
    connect(server, &QTcpSocket::readyRead, client,
            [this, client, server] { handOn(*server, *client); });
    connect(client, &QTcpSocket::bytesWritten, server,
            [this, client, server] { handOn(*server, *client); });
    // Received bytes are forwarded before the client is disconnected.
    connect(server, &QTcpSocket::disconnected, client, [this, client, server] {
        handOn(*server, *client);
        client->disconnectFromHost();
    });
    connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
    server->connectToHost(m_server.host(), static_cast<quint16>(m_server.port(80)));
}

void TcpRelay::handOn(QTcpSocket &server, QTcpSocket &client)
{
    if (!server.isOpen())
        return;
    const bool isOver = server.state() == QAbstractSocket::UnconnectedState;
    if (client.bytesToWrite() > BufferSize && !isOver)
        return;
    QByteArray bytes = server.readAll();
    qint64 handedOn = client.property(HandedOn).toLongLong();
    if (m_cut)
        bytes.truncate(static_cast<int>(qMin<qint64>(bytes.size(), *m_cut - handedOn)));
    handedOn += bytes.size();
    m_sentByServer += bytes.size();
    client.setProperty(HandedOn, handedOn);
    client.write(bytes);
    if (m_cut && handedOn >= *m_cut) {
        server.disconnect(&client);
        server.abort();
        client.disconnectFromHost();
    }
}

} // namespace Kavo::Testing
