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

/// Reports the running installations to the desktop: their total progress on the program's icon, a
/// few times a second at most, and a notification of the results when the last of several has ended
/// and the window is not active. Main thread.
class WorkReport final : public QObject
{
    Q_OBJECT

public:
    /// The installer must outlive this object.
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
    // Results of the work that has ended since the last idle moment. The work itself must not be
    // kept, because others wait for it to release its archive.
    int m_endedCount = 0;
    double m_endedSize = 0; ///< in bytes
    QStringList m_failed;   ///< names
    QTimer m_pause;         ///< time until the next update
    bool m_hasNews = false;
};

} // namespace Kavo
