#pragma once

#include <QByteArray>
#include <QObject>
#include <QTcpServer>
#include <QUrl>

#include <optional>

class QTcpSocket;

namespace Kavo::Testing {

/// A proxy between clients and a server. It forwards and counts what both send, and can cut
/// connections. Works on the thread of its creator.
class TcpRelay final : public QObject
{
    Q_OBJECT

public:
    explicit TcpRelay(const QUrl &server);

    /// The address of the server through the relay.
    QString url() const;

    /// Cuts each connection after so many bytes from the server.
    void cutAfter(qint64 bytes) { m_cut = bytes; }
    void cutNothing() { m_cut.reset(); }
    /// Forgets what was counted.
    void reset();
    /// Bytes that the server has sent, heads included.
    qint64 sentByServer() const { return m_sentByServer; }
    /// All bytes from clients.
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
