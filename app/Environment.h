#pragma once

#include <QString>

/// Process-wide set-up, done once at the start on the main thread.
namespace Kavo {

/// Makes the executable's folder the current one, because relative paths ("translations") depend on
/// it, and lets the event loop end with the last window.
void prepareEnvironment();

/// Installs "translations/qt_<language>.qm" for every language except the built-in "en", and with
/// it Qt's own texts (buttons of boxes, folder dialog) from Qt's folder. Without the first file all
/// texts stay English, without the second those of Qt.
void installTranslation(const QString &language);

/// Loads the two text fonts from the resources and sets "Proxima Nova Rg", 10 points, as the
/// application font. If a font cannot be loaded, Qt's default family is used.
void loadFonts();

} // namespace Kavo
