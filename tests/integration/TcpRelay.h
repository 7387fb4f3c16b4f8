#pragma once

#include <QByteArray>
#include <QObject>
#include <QTcpServer>
#include <QUrl>

#include <optional>

class QTcpSocket;

namespace Kavo::Testing {

/// A TCP proxy between clients and a server. It records the traffic and can cut connections. Works
/// in the event loop of the thread that created it.
class TcpRelay final : public QObject
{
    Q_OBJECT

public:
    explicit TcpRelay(const QUrl &server);

    /// The address of the server by way of the relay.
    QString url() const;

    /// Cuts each connection after this number of bytes from the server.
    void cutAfter(qint64 bytes) { m_cut = bytes; }
    void cutNothing() { m_cut.reset(); }
    /// Clears the records of both directions.
    void reset();
    /// The number of forwarded bytes from the server, including HTTP headers.
    qint64 sentByServer() const { return m_sentByServer; }
    /// All bytes that clients have sent.
    const QByteArray &saidByClients() const { return m_saidByClients; }

private:
    void join();
    void handOn(QTcpSocket &server, QTcpSocket &client);

    QUrl m_server;
    QTcpServer m_listener;
    std::optional<qint64> m_cut;
    qint64 m_sentByServer = 0;
    QByteArray m_saidByClients;
};

} // namespace Kavo::Testing
