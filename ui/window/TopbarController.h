#pragma once

#include <QObject>
#include <QSharedPointer>

namespace Kavo {
class Settings;
}

namespace Kavo::Controllers {

class ApplicationController;
class PackageController;

/// Performs the actions of the top bar's buttons by calling the other controllers. Main thread.
class TopbarController final : public QObject
{
    Q_OBJECT

public:
    TopbarController(const QSharedPointer<Settings> &settings,
                     const QSharedPointer<PackageController> &packages,
                     const QSharedPointer<ApplicationController> &application);

    const QSharedPointer<Settings> &settings() const { return m_settings; }
    const QSharedPointer<PackageController> &packageController() const { return m_packages; }

    /// Reloads the catalogue.
    void refresh();
    /// Deletes the databases and clears all settings. The program must end afterwards.
    void reset();

    void restore();
    void maximize();
    void minimize();
    void exit();

    /// Moves the window by a distance in pixels.
    void moveBy(int horizontal, int vertical);

private:
    QSharedPointer<Settings> m_settings;
    QSharedPointer<PackageController> m_packages;
    QSharedPointer<ApplicationController> m_application;
};

} // namespace Kavo::Controllers
