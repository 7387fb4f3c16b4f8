#pragma once

#include <QString>

/// Process-wide set-up that start-up does once, on the main thread.
namespace Kavo {

/// Makes the executable's folder the current one, because relative paths ("translations") rest on
/// it, and lets the event loop end with the last window.
void prepareEnvironment();

/// Installs "translations/qt_<language>.qm" for every language but the built-in "en", and with it
/// Qt's own texts (buttons of boxes, folder dialog) from Qt's folder. Without the first file all
/// texts stay English, without the second those of Qt.
void installTranslation(const QString &language);

/// Loads the two text fonts from the resources and makes "Proxima Nova Rg", 10 points, the
/// application font. Where there is none, the desktop's family takes its place.
void loadFonts();

} // namespace Kavo
