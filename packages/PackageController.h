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

/// The interface between the user interface and package management. It passes every question and
/// order on to the class that handles it, and announces what should be shown. Main thread.
///
/// If it is destroyed during an installation, it waits for that installation and records its
/// result.
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

    /// Reloads the catalogue and replaces all packages. Ends with update() and list(), or with
    /// error(), never before this call has returned.
    void refresh();

    /// The available packages in catalogue order. There are none during a refresh, unless another
    /// refresh has ended since it began.
    const Models::PackageList &packages() const { return m_catalogue.packages(); }
    static QStringList packageTypes();
    /// First package with this id, or null.
    Models::PackagePointer findPackage(int id) const { return m_catalogue.find(id); }

    /// Starts an installation. `version` may be empty for the newest version and holds the chosen
    /// version afterwards. The package's state reports the progress.
    /// Fixed, see docs/compatibility.md.
    void install(const Models::PackagePointer &package, QString &version);
    /// Removes the package and all its dependents and returns afterwards. If removalBlockers()
    /// names any package, or the simulator is not there, it only logs the reason.
    Models::Removal uninstall(const Models::PackagePointer &package);
    /// The packages that are removed together with this one, in the order of removal: its direct
    /// and indirect dependents.
    Models::PackageList removedAlong(const Models::PackagePointer &package) const;
    /// The packages being installed that prevent this removal: those that would be removed and
    /// those that depend on them.
    Models::PackageList removalBlockers(const Models::PackagePointer &package) const;
    /// Whether an installation or a removal is running.
    bool isBusy() const;
    /// Starts or stops holding installations back. A running installation goes on.
    void holdInstallations(bool held) { m_installer.setHeld(held); }
    /// The installer, for observers of all running work.
    const Models::Installer &installer() const { return m_installer; }

    /// The recorded state of the package.
    int status(const Models::PackagePointer &package) const;
    /// The installed version, empty unless the package is INSTALLED.
    QString installedVersion(const Models::PackagePointer &package) const;
    /// The changes from the installed version to `version` as rich text. Empty if there are none or
    /// nothing is installed.
    QString changeLog(const Models::PackagePointer &package, const QString &version) const;

    /// The available packages that satisfy the version's dependencies, in catalogue order.
    Models::PackageList resolvedDependencies(const Models::PackagePointer &package,
                                             const QString &version) const;
    /// The installed packages that depend on this one; with a version text only those that need a
    /// newer version.
    Models::PackageList dependents(const Models::PackagePointer &package,
                                   const QString &version) const;

    /// The download of the version that is being installed, or null.
    QSharedPointer<Models::Download> runningDownload(const Models::PackagePointer &package) const;
    /// The progress of the package, if it is being installed. It changes over time without a
    /// signal.
    Models::WorkProgress progress(const Models::PackagePointer &package) const;

    /// Deletes the databases of installed packages and of downloads and the cached answers of
    /// servers. Files are kept.
    void reset();
    /// Asks for the list to be shown.
    void showList();

signals:
    /// The order is fixed, see docs/compatibility.md.
    void update();
    void busy();
    /// Never emitted by the controller.
    void empty();
    void list();
    void error(QString message);
    /// Emitted by the user interface to open a package.
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
    /// Destroyed before all members above, because it may have to record the end of an
    /// installation.
    Models::Installer m_installer;
    Models::CatalogueLoader m_loader;
};

} // namespace Kavo::Controllers
