#include "benchmarks/SlowServer.h"

#include "benchmarks/Measure.h"

#include <QTcpSocket>
#include <QTimer>

namespace Kavo::Benchmarks {

namespace {

QByteArray withHead(const QByteArray &body, bool withBody)
{
    return "HTTP/1.1 200 OK\r\nLast-Modified: Wed, 17 May 2023 12:00:00 GMT\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + (withBody ? body : QByteArray());
}

} // namespace

SlowServer::SlowServer(const QByteArray &picture, int delay) : m_picture(picture), m_delay(delay)
{
    require(m_server.listen(QHostAddress::LocalHost), "listening");
    connect(&m_server, &QTcpServer::newConnection, this, &SlowServer::accept);
}

QString SlowServer::address() const
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(m_server.serverPort());
}

void SlowServer::accept()
{
    while (QTcpSocket *client = m_server.nextPendingConnection()) {
        connect(client, &QTcpSocket::readyRead, this, [this, client] { readFrom(*client); });
        connect(client, &QTcpSocket::disconnected, this, [this, client] {
            m_input.remove(client);
            client->deleteLater();
        });
    }
}

void SlowServer::readFrom(QTcpSocket &client)
{
    QByteArray &input = m_input[&client];
    input += client.readAll();
    for (int end = input.indexOf("\r\n\r\n"); end >= 0; end = input.indexOf("\r\n\r\n")) {
        const QByteArray head = input.left(end);
        input.remove(0, end + 4);
        answer(client, head);
    }
}

void SlowServer::answer(QTcpSocket &client, const QByteArray &head)
{
    const QByteArray path = head.split(' ').value(1);
    if (path.startsWith("/icons/")) {
        QTimer::singleShot(m_delay, Qt::PreciseTimer, &client,
                           [this, &client] { client.write(withHead(m_picture, true)); });
        return;
    }
    emit asked(QString::fromLatin1(path));
    client.write(withHead("no archive", !head.startsWith("HEAD")));
}

} // namespace Kavo::Benchmarks
