#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QVector>

namespace Kavo {

/// The message bus of the desktop, to send to. Nobody waits for it: it is connected on a thread of
/// its own, since one that hangs would hold up the window, and no answer is looked at. Where there
/// is no bus nothing happens, and none is started. Main thread.
class DesktopBus final : public QObject
{
    Q_OBJECT

public:
    DesktopBus() = default;
    ~DesktopBus() override;

    /// Connects at the first call.
    void send(const QDBusMessage &message);

private:
    enum class State { UNUSED, CONNECTING, CONNECTED, ABSENT };

    void connectToBus();
    void onConnected();

    State m_state = State::UNUSED;
    QVector<QDBusMessage> m_waiting;
};

} // namespace Kavo
