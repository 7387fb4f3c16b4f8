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

/// Ensures that only one instance works on a profile, which is the data folder of one user. A
/// second instance asks the first one to show its window, and has to end.
///
/// A claim consists of two parts, which the kernel releases when a process ends in any way: a
/// socket named after the user and the folder, and a lock on a file in the folder, which also works
/// where the socket is not visible. A lock file of a dead process does not matter, nor does a
/// folder that is not writable. Other users' processes are ignored. Main thread.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(const QString &folder, QObject *parent = nullptr);
    ~SingleInstance() override;

    /// Claims the profile for the lifetime of this object and returns whether it succeeded. If not,
    /// the other instance was asked to show its window, and given `token`, with which the desktop
    /// lets it come to the front. Waits a few seconds for its answer.
    bool claim(const QByteArray &token);

    /// Whether the other instance has answered. A busy one reads the request later.
    bool isAnswered() const { return m_isAnswered; }

signals:
    /// Another instance has asked this one to show its window.
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
