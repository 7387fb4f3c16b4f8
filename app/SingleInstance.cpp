#include "app/SingleInstance.h"

#include "app/AbstractSocket.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QSocketNotifier>
#include <QThread>

#include <cerrno>
#include <chrono>

#include <sys/stat.h>
#include <unistd.h>

namespace Kavo {

namespace {

constexpr std::chrono::seconds Patience{5};
constexpr unsigned long PauseInMilliseconds = 20;
/// The longest accepted message of another instance, in bytes.
constexpr qint64 LongestRequest = 4096;

const QByteArray Show = QByteArrayLiteral("show ");
const QByteArray Shown = QByteArrayLiteral("shown\n");

/// The key is the same for every path to the folder.
QByteArray nameFor(const QString &folder)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(folder).constData(), &status) != 0)
        return QByteArray();
    return "kavo-suite/" + QByteArray::number(::getuid()) + '/' +
           QByteArray::number(static_cast<qulonglong>(status.st_dev)) + '/' +
           QByteArray::number(static_cast<qulonglong>(status.st_ino));
}

} // namespace

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_lockFile(folder + QStringLiteral("kavo-suite.lock"))
    , m_lock(m_lockFile)
    , m_name(nameFor(folder))
{
    // The lock never becomes stale by age.
    m_lock.setStaleLockTime(0);
}

SingleInstance::~SingleInstance()
{
    m_notifier.reset();
    if (m_socket >= 0)
        ::close(m_socket);
}

bool SingleInstance::claim(const QByteArray &token)
{
    const QDeadlineTimer limit(Patience);
    while (!tryToClaim()) {
        m_isAnswered = ask(token, limit);
        if (m_isAnswered || limit.hasExpired())
            return false;
        // The other instance may be ending.
        QThread::msleep(PauseInMilliseconds);
    }
    return true;
}

bool SingleInstance::tryToClaim()
{
    if (!listen())
        return false;
    if (lock())
        return true;
    m_notifier.reset();
    ::close(m_socket);
    m_socket = -1;
    return false;
}

/// Binds the name, unless another instance of this user has it. If that fails for other reasons,
/// only the lock is used.
bool SingleInstance::listen()
{
    if (m_name.isEmpty())
        return true;
    m_socket = listenAt(m_name);
    if (m_socket < 0) {
        if (errno != EADDRINUSE)
            return true;
        const int other = connectTo(m_name);
        const bool isStranger = other >= 0 && !isOfThisUser(other);
        if (other >= 0)
            ::close(other);
        return isStranger;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_socket, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &SingleInstance::accept);
    return true;
}

/// Only the process that has the name gets here, so no two processes do this at once.
bool SingleInstance::lock()
{
    const QFileInfo file(m_lockFile);
    if (file.exists() && !file.isFile())
        return true;
    if (m_lock.tryLock(0) || m_lock.error() != QLockFile::LockFailedError)
        return true;
    // The file names a process id, which another process may have by now, even another instance of
    // this program. This removes a lock that no living process holds, whatever the file says.
    return m_lock.removeStaleLockFile() && m_lock.tryLock(0);
}

bool SingleInstance::ask(const QByteArray &token, const QDeadlineTimer &limit) const
{
    const int socket = connectTo(m_name);
    if (socket < 0)
        return false;
    QLocalSocket connection;
    if (!isOfThisUser(socket) || !connection.setSocketDescriptor(socket)) {
        ::close(socket);
        return false;
    }
    connection.write(Show + token.toBase64() + '\n');
    while (!connection.canReadLine()) {
        if (!connection.waitForReadyRead(static_cast<int>(limit.remainingTime())))
            return false;
    }
    return true;
}

void SingleInstance::accept()
{
    const int socket = acceptAt(m_socket);
    if (socket < 0)
        return;
    auto *connection = new QLocalSocket(this);
    if (!isOfThisUser(socket) || !connection->setSocketDescriptor(socket)) {
        ::close(socket);
        delete connection;
        return;
    }
    connect(connection, &QLocalSocket::readyRead, this, [this, connection] { read(*connection); });
    connect(connection, &QLocalSocket::disconnected, connection, &QObject::deleteLater);
}

void SingleInstance::read(QLocalSocket &connection)
{
    if (!connection.canReadLine()) {
        if (connection.bytesAvailable() > LongestRequest)
            connection.abort();
        return;
    }
    const QByteArray request = connection.readLine(LongestRequest);
    if (!request.startsWith(Show))
        return;
    connection.write(Shown);
    connection.flush();
    emit showRequested(QByteArray::fromBase64(request.mid(Show.size()).trimmed()));
}

} // namespace Kavo
