#pragma once

#include "app/DesktopBus.h"
#include "app/LauncherEntry.h"
#include "app/Notifications.h"
#include "packages/installation/InstallationWork.h"

#include <QCoreApplication>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVector>

namespace Kavo::Models {
class Installer;
}

namespace Kavo {

/// Tells the desktop of all that is on its way together: the sum of it on the program's icon, a few
/// times a second at most, and when the last of several has ended and the user is elsewhere, what
/// has become of them. Main thread.
class WorkReport final : public QObject
{
    Q_OBJECT

public:
    /// The installer has to live as long as this.
    explicit WorkReport(const Models::Installer &installer);

private:
    void onBegan(const Models::InstallationWorkPointer &work);
    void onEnded(const Models::InstallationWorkPointer &work);
    void note();
    void show();
    double progress() const;
    void notifyOfEnd();

    DesktopBus m_bus;
    LauncherEntry m_launcher;
    Notifications m_notifications;
    QVector<Models::InstallationWorkPointer> m_works;
    // Of what has ended since there was nothing on its way last. The work itself is not to be kept:
    // others wait for it to let go of its archive.
    int m_endedCount = 0;
    double m_endedSize = 0; ///< in bytes
    QStringList m_failed;   ///< names
    QTimer m_pause;         ///< until the next may be told
    bool m_hasNews = false;
};

} // namespace Kavo
