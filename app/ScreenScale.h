#pragma once

#include <QSize>

#include <memory>

class QApplication;

namespace Kavo {

/// The dots to the inch, not more than these, with which the main window fits on a screen of so
/// many pixels and the texts fit into the window.
int fittingDensity(int density, const QSize &pixels);

/// Makes the application object. What a screen says of its density makes a whole scale, rounded
/// down, and never one at which the main window is larger than the screen; the remainder makes the
/// texts larger, as far as there is room for them. A scale of the user's own choice
/// (QT_SCALE_FACTOR, QT_SCREEN_SCALE_FACTORS, QT_FONT_DPI) is kept as it is. The arguments have to
/// outlive the object, which takes those that are meant for Qt away. May start the program anew, so
/// call it before anything that must not happen twice.
std::unique_ptr<QApplication> makeScaledApplication(int &argc, char **argv);

} // namespace Kavo
