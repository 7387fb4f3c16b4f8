#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// A separate message bus that replaces the session bus of the desktop while the object exists, by
/// means of DBUS_SESSION_BUS_ADDRESS. It starts no services. Main thread.
class PrivateBus final
{
public:
    PrivateBus();
    ~PrivateBus();
    Q_DISABLE_COPY_MOVE(PrivateBus)

    /// Whether the bus was started.
    bool isReady() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }
    /// The folder that contains the socket, whose name is that of a user's session bus in
    /// XDG_RUNTIME_DIR: "bus".
    QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
    QByteArray m_addressBefore;
};

} // namespace Kavo::Testing
