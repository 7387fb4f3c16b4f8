#pragma once

#include <QString>

class QSplashScreen;

namespace Kavo {

/// Shows what start-up does next on the splash screen, painted before this returns, because the
/// next step may block.
void showSplashMessage(QSplashScreen &splash, const QString &message);

} // namespace Kavo
