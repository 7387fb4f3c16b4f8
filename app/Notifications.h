#pragma once

#include <QString>

namespace Kavo {

class DesktopBus;

/// Notifications of the desktop, with the program's name and picture, by
/// org.freedesktop.Notifications. Main thread.
class Notifications final
{
public:
    explicit Notifications(DesktopBus &bus) : m_bus(bus) {}
    Q_DISABLE_COPY_MOVE(Notifications)

    /// Both texts are plain.
    void notify(const QString &title, const QString &text);

private:
    DesktopBus &m_bus;
};

} // namespace Kavo
