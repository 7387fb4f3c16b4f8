#pragma once

#include <QtGlobal>

namespace Kavo {

class DesktopBus;

/// Shows the progress and the number of running operations on the program's icon in docks and task
/// bars. Uses com.canonical.Unity.LauncherEntry for the desktop entry that was set in Qt. Main
/// thread.
class LauncherEntry final
{
public:
    explicit LauncherEntry(DesktopBus &bus) : m_bus(bus) {}
    /// Clears the icon.
    ~LauncherEntry();
    Q_DISABLE_COPY_MOVE(LauncherEntry)

    /// `progress` is between 0 and 1.
    void show(int count, double progress);
    void clear();

private:
    void update(int count, double progress, bool visible);

    DesktopBus &m_bus;
    bool m_isVisible = false;
};

} // namespace Kavo
