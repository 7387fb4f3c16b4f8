#pragma once

#include <QByteArray>

namespace Kavo {

/// Brings what the program shows to the front, open as the user last saw it: the main window, what
/// is asked over it, or the splash screen before. `token` is what the desktop has given for it, and
/// may be empty. A desktop that does not allow it marks the window instead.
void bringToFront(const QByteArray &token);

/// Tells the launcher of a program that will show no window that it has started.
void endLaunch();

} // namespace Kavo
