#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace Kavo::Benchmarks {

/// A web server on this machine that delays only pictures. Needs the event loop of the thread that
/// creates it.
class SlowServer final : public QObject
{
    Q_OBJECT

public:
    /// A request for any path below "/icons/" gets `picture` after `delay` milliseconds.
    SlowServer(const QByteArray &picture, int delay);

    QString address() const;

signals:
    /// A request arrived for something other than a picture.
    void asked(const QString &path);

private:
    void accept();
    void readFrom(QTcpSocket &client);
    void answer(QTcpSocket &client, const QByteArray &head);

    QByteArray m_picture;
    int m_delay;
    /// Declared before the server, whose sockets still access it when they are destroyed.
    QHash<QTcpSocket *, QByteArray> m_input;
    QTcpServer m_server;
};

} // namespace Kavo::Benchmarks
