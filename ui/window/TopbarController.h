#pragma once

#include <QObject>
#include <QSharedPointer>

namespace Kavo {
class Settings;
}

namespace Kavo::Controllers {

class ApplicationController;
class PackageController;

/// Turns what the top bar's buttons ask for into calls of those who do it. Main thread.
class TopbarController final : public QObject
{
    Q_OBJECT

public:
    TopbarController(const QSharedPointer<Settings> &settings,
                     const QSharedPointer<PackageController> &packages,
                     const QSharedPointer<ApplicationController> &application);

    const QSharedPointer<Settings> &settings() const { return m_settings; }
    const QSharedPointer<PackageController> &packageController() const { return m_packages; }

    /// Loads the catalogue anew.
    void refresh();
    /// Deletes the databases and empties all settings. The program has to end afterwards.
    void reset();

    void restore();
    void maximize();
    void minimize();
    void exit();

    /// Moves the window by so many pixels from where it is.
    void moveBy(int horizontal, int vertical);

private:
    QSharedPointer<Settings> m_settings;
    QSharedPointer<PackageController> m_packages;
    QSharedPointer<ApplicationController> m_application;
};

} // namespace Kavo::Controllers
