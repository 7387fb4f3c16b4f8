#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QVector>

namespace Kavo {

/// Sends messages on the desktop's session bus. It never blocks: the connection is made on a thread
/// of its own, because a bus that hangs would block the window, and replies are ignored. If there
/// is no bus, nothing happens, and none is started. Main thread.
class DesktopBus final : public QObject
{
    Q_OBJECT

public:
    DesktopBus() = default;
    ~DesktopBus() override;

    /// Connects when it is first called.
    void send(const QDBusMessage &message);

private:
    enum class State { UNUSED, CONNECTING, CONNECTED, ABSENT };

    void connectToBus();
    void onConnected();

    State m_state = State::UNUSED;
    QVector<QDBusMessage> m_waiting;
};

} // namespace Kavo
