#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QObject>
#include <QString>

#include <memory>

class QDeadlineTimer;
class QLocalSocket;
class QSocketNotifier;

namespace Kavo {

/// Sees to it that one program works on a profile, that is the data folder of one user. Of two that
/// claim it the later one asks the earlier one to show itself, and has to end.
///
/// Two things make a claim, and the kernel takes both back however a process ends: a socket named
/// after the user and the folder, and a lock on a file in the folder, which holds where the socket
/// cannot be seen as well. A file that a dead process has left behind stops nobody, nor does a
/// folder that takes no file. Programs of other users are not listened to. Main thread.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(const QString &folder, QObject *parent = nullptr);
    ~SingleInstance() override;

    /// Whether this program is the one for the profile, from now to the end of the object's life.
    /// If not, the other one was asked to show itself, and given `token`, by which the desktop lets
    /// it come to the front. Waits a few seconds for one that does not answer.
    bool claim(const QByteArray &token);

    /// Whether the other one has answered. One that is busy reads what it was told later.
    bool isAnswered() const { return m_isAnswered; }

signals:
    /// A later program has asked this one to show itself.
    void showRequested(const QByteArray &token);

private:
    bool tryToClaim();
    bool listen();
    bool lock();
    bool ask(const QByteArray &token, const QDeadlineTimer &limit) const;
    void accept();
    void read(QLocalSocket &connection);

    QString m_lockFile;
    QLockFile m_lock;
    QByteArray m_name;
    int m_socket = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_isAnswered = false;
};

} // namespace Kavo
