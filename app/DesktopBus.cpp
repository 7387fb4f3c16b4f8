#include "app/DesktopBus.h"

#include <QDBusConnection>
#include <QFile>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Kavo {

namespace {

QString connectionName()
{
    return QStringLiteral("Kavo Suite");
}

/// Otherwise the library would start a bus.
bool isThereABus()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return !address.startsWith(QLatin1String("autolaunch:"));
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !folder.isEmpty() && QFile::exists(folder + QStringLiteral("/bus"));
}

/// When the process ends, the library waits for a connection that is being made, which may never
/// happen with a bus that hangs. There is nothing else left to do by then.
void leaveAtOnce(int status, void *)
{
    std::fflush(nullptr);
    std::_Exit(status);
}

} // namespace

DesktopBus::~DesktopBus()
{
    if (m_state == State::CONNECTED)
        QDBusConnection::disconnectFromBus(connectionName());
    else if (m_state == State::CONNECTING)
        ::on_exit(leaveAtOnce, nullptr);
}

void DesktopBus::send(const QDBusMessage &message)
{
    if (m_state == State::UNUSED)
        connectToBus();
    if (m_state == State::CONNECTING)
        m_waiting.append(message);
    else if (m_state == State::CONNECTED)
        QDBusConnection(connectionName()).send(message);
}

void DesktopBus::connectToBus()
{
    m_state = isThereABus() ? State::CONNECTING : State::ABSENT;
    if (m_state == State::ABSENT)
        return;
    QThread *thread = QThread::create(
        [] { QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName()); });
    connect(thread, &QThread::finished, this, &DesktopBus::onConnected);
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

void DesktopBus::onConnected()
{
    const bool isConnected = QDBusConnection(connectionName()).isConnected();
    m_state = isConnected ? State::CONNECTED : State::ABSENT;
    const QVector<QDBusMessage> waiting = std::exchange(m_waiting, {});
    for (const QDBusMessage &message : waiting)
        send(message);
}

} // namespace Kavo
