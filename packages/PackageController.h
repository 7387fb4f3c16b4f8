#pragma once

#include "packages/CatalogueLoader.h"
#include "packages/PackageEnvironment.h"
#include "packages/catalogue/Catalogue.h"
#include "packages/catalogue/CatalogueFeed.h"
#include "packages/installation/Dependencies.h"
#include "packages/installation/Installer.h"
#include "packages/installation/Uninstaller.h"
#include "packages/record/InstalledPackageDatabase.h"

#include <QObject>
#include <QSharedPointer>
#include <QStringList>

namespace Kavo::Controllers {

/// The one object through which the user interface reaches packages. It hands every question and
/// every order on to the part that answers it, and says what should be shown. Main thread.
///
/// Destroying it while an installation runs waits for that installation and records its result.
class PackageController final : public QObject
{
    Q_OBJECT

public:
    PackageController(const QSharedPointer<Settings> &settings,
                      const QSharedPointer<Managers::DownloadManager> &downloads);
    PackageController(const QSharedPointer<Settings> &settings,
                      const QSharedPointer<Managers::DownloadManager> &downloads,
                      const PackageEnvironment &environment);
    ~PackageController() override;

    const QSharedPointer<Settings> &settings() const { return m_settings; }
    const QSharedPointer<Managers::DownloadManager> &downloadManager() const { return m_downloads; }

    /// Loads the catalogue anew and replaces all packages. Ends with update() and list(), or with
    /// error(); never before it has returned.
    void refresh();

    /// The packages on offer, in catalogue order; none while a refresh is on its way, nor while its
    /// file is taken in, unless another refresh has ended since it began.
    const Models::PackageList &packages() const { return m_catalogue.packages(); }
    static QStringList packageTypes();
    /// First package with this id, or null.
    Models::PackagePointer findPackage(int id) const { return m_catalogue.find(id); }

    /// Starts an installation; `version` may be empty for the newest one and holds the version
    /// that is meant afterwards. The package's state tells the rest.
    /// Fixed, see docs/compatibility.md.
    void install(const Models::PackagePointer &package, QString &version);
    /// Removes the package and all its dependents; returns when that is done. Does nothing but log
    /// the reason while removalBlockers() names any or the simulator is not there.
    Models::Removal uninstall(const Models::PackagePointer &package);
    /// What a removal of this package takes along, in the order in which it goes: all that needs
    /// it, be it by way of another one.
    Models::PackageList removedAlong(const Models::PackagePointer &package) const;
    /// The packages on their way because of which this one cannot be removed now: those that would
    /// go with it and those that need what would go.
    Models::PackageList removalBlockers(const Models::PackagePointer &package) const;
    /// Whether an installation or a removal is running.
    bool isBusy() const;
    /// Has no other installation begin until it is called again; one that is running goes on.
    void holdInstallations(bool held) { m_installer.setHeld(held); }
    /// For those who follow all that is on its way, not the state of one package.
    const Models::Installer &installer() const { return m_installer; }

    /// What the database has recorded of the package's state.
    int status(const Models::PackagePointer &package) const;
    /// Empty unless the package is INSTALLED.
    QString installedVersion(const Models::PackagePointer &package) const;
    /// What changes from the installed version to `version`, as rich text. Empty when nothing does
    /// or nothing is installed.
    QString changeLog(const Models::PackagePointer &package, const QString &version) const;

    /// Packages on offer that satisfy the version's dependencies, in catalogue order.
    Models::PackageList resolvedDependencies(const Models::PackagePointer &package,
                                             const QString &version) const;
    /// Installed packages that need this one, or with a version text a newer one than that.
    Models::PackageList dependents(const Models::PackagePointer &package,
                                   const QString &version) const;

    /// The download of the version that is on its way, or null.
    QSharedPointer<Models::Download> runningDownload(const Models::PackagePointer &package) const;
    /// How far the package is, should it be on its way. Changes in the course of time alone.
    Models::WorkProgress progress(const Models::PackagePointer &package) const;

    /// Deletes the database of installed packages, that of downloads and what is kept of the
    /// servers' answers. Files stay.
    void reset();
    /// Has the list shown.
    void showList();

signals:
    /// The order is fixed, see docs/compatibility.md.
    void update();
    void busy();
    /// Never emitted by the controller.
    void empty();
    void list();
    void error(QString message);
    /// Emitted by the user interface, to open a package.
    void detail(QSharedPointer<Kavo::Models::Package> package);

private:
    void showRemoved(const Models::PackageList &packages);

    QSharedPointer<Settings> m_settings;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    Models::Catalogue m_catalogue;
    Models::InstalledPackageDatabase m_database;
    Models::Dependencies m_dependencies;
    Models::CatalogueFeed m_feed;
    Models::Uninstaller m_uninstaller;
    /// Goes before all of the above: its end may still have to be recorded.
    Models::Installer m_installer;
    Models::CatalogueLoader m_loader;
};

} // namespace Kavo::Controllers
