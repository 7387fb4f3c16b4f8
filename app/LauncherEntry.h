#pragma once

#include <QtGlobal>

namespace Kavo {

class DesktopBus;

/// What the docks and task bars of the desktops show of the program on its icon: how far its work
/// is, and how many pieces there are. Speaks com.canonical.Unity.LauncherEntry, for the desktop
/// entry that the program has told Qt. Main thread.
class LauncherEntry final
{
public:
    explicit LauncherEntry(DesktopBus &bus) : m_bus(bus) {}
    /// Clears what is shown.
    ~LauncherEntry();
    Q_DISABLE_COPY_MOVE(LauncherEntry)

    /// `progress` goes from 0 to 1.
    void show(int count, double progress);
    void clear();

private:
    void update(int count, double progress, bool visible);

    DesktopBus &m_bus;
    bool m_isVisible = false;
};

} // namespace Kavo
