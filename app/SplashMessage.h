#pragma once

#include <QString>

class QSplashScreen;

namespace Kavo {

/// Shows the next step of the start-up on the splash screen. It is painted before this returns,
/// because the next step may block.
void showSplashMessage(QSplashScreen &splash, const QString &message);

} // namespace Kavo
