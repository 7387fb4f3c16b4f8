#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace Kavo::Benchmarks {

/// A web server on this machine that takes a while for every picture, and none for anything else.
/// It works on the thread of its creator.
class SlowServer final : public QObject
{
    Q_OBJECT

public:
    /// Every address under "icons/" gets `picture` after so many milliseconds.
    SlowServer(const QByteArray &picture, int delay);

    QString address() const;

signals:
    /// A request for something else than a picture has come.
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
