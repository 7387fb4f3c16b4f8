#include "app/SplashMessage.h"

#include <QCoreApplication>
#include <QSplashScreen>

namespace Kavo {

void showSplashMessage(QSplashScreen &splash, const QString &message)
{
    splash.showMessage(message,
                       static_cast<int>(Qt::AlignHCenter) | Qt::AlignBottom | Qt::AlignVCenter,
                       Qt::white);
    QCoreApplication::processEvents();
}

} // namespace Kavo
