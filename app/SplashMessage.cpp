#include "app/SplashMessage.h"

#include <QCoreApplication>
#include <QSplashScreen>

namespace Kavo {

void showSplashMessage(QSplashScreen &splash, const QString &message)
{
    splash.showMessage(message,
                       // Fixed, see docs/compatibility.md.
                       static_cast<int>(Qt::AlignHCenter) | Qt::AlignBottom | Qt::AlignVCenter,
                       Qt::white);
    QCoreApplication::processEvents();
}

} // namespace Kavo
