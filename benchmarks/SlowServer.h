#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace Kavo::Benchmarks {

/// A web server on this machine that delays every picture and nothing else. It works on its
/// creator's thread.
class SlowServer final : public QObject
{
    Q_OBJECT

public:
    /// Every address under "icons/" gets `picture` after this many milliseconds.
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
    QHash<QTcpSocket *, QByteArray> m_input; ///< outlives the server, whose sockets end with it
    QTcpServer m_server;
};

} // namespace Kavo::Benchmarks
