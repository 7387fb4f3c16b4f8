#pragma once

#include <QSize>

#include <memory>

class QApplication;

namespace Kavo {

/// Returns the largest density up to `density` with which the main window fits on a screen of
/// this size in pixels, and the texts fit into the window.
int fittingDensity(int density, const QSize &pixels);

/// Creates the application object. The screen's density becomes a whole scale factor, rounded down,
/// and never so large that the main window exceeds the screen. The remainder enlarges the texts as
/// far as there is room. A scale chosen by the user (QT_SCALE_FACTOR, QT_SCREEN_SCALE_FACTORS,
/// QT_FONT_DPI) is not changed. The arguments must outlive the object, which removes Qt's own ones.
/// May restart the program, so it must be called before anything that must not happen twice.
std::unique_ptr<QApplication> makeScaledApplication(int &argc, char **argv);

} // namespace Kavo
