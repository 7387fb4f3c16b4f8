#pragma once

#include <QString>

namespace Kavo {

class DesktopBus;

/// Shows desktop notifications with the program's name and icon, by org.freedesktop.Notifications.
/// Main thread.
class Notifications final
{
public:
    explicit Notifications(DesktopBus &bus) : m_bus(bus) {}
    Q_DISABLE_COPY_MOVE(Notifications)

    /// Both texts are plain text.
    void notify(const QString &title, const QString &text);

private:
    DesktopBus &m_bus;
};

} // namespace Kavo
