#pragma once

#include <QByteArray>

namespace Kavo {

/// Brings the program to the front in its last visible state: the main window, a dialog above it,
/// or the splash screen before. `token` comes from the desktop and may be empty. A desktop that
/// does not allow it highlights the window instead.
void bringToFront(const QByteArray &token);

/// Tells the launcher that a program without a window has started.
void endLaunch();

} // namespace Kavo
