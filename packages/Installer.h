#pragma once

#include "packages/ArchiveClaims.h"
#include "packages/Catalogue.h"
#include "packages/Dependencies.h"
#include "packages/InstallationQueue.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QSharedPointer>

namespace Kavo::Managers {
class DownloadManager;
}

namespace Kavo::Models {

class Download;
class InstallationJob;

/// Brings a version and what it depends on into the simulator: starts the downloads, hands complete
/// archives to the queue and has every step remembered in the database. Main thread.
class Installer final : public QObject
{
    Q_OBJECT

public:
    Installer(const Catalogue &catalogue, InstalledPackageDatabase &database,
              const QSharedPointer<Managers::DownloadManager> &downloads,
              const InstallationQueue::Settings &settings, QObject *parent = nullptr);
    ~Installer() override;

    /// Starts a version, and before it whatever it depends on that is missing or too old. Returns
    /// at once; the package's state tells the rest. `version` may be empty for the newest one and
    /// holds the version that is meant afterwards. Does nothing for a package without versions and
    /// for one that is already being worked on.
    void install(const PackagePointer &package, QString &version);

    /// Whether a task is running.
    bool isBusy() const { return m_queue.isBusy(); }
    /// Whether a package with this id is on its way.
    bool isWorkingOn(int packageId) const { return m_jobs.contains(packageId); }

    /// Makes new objects of the catalogue show the work that is going on for the old ones.
    void continueWith(const Catalogue &catalogue);

    /// The queued download of the version that is on its way, or null.
    QSharedPointer<Download> runningDownload(Package &package) const;

private:
    bool mayStart(const Package &package) const;
    void startWithDependencies(const PackagePointer &package, const QString &version);
    void start(const PackagePointer &package, const PackageVersionPointer &version);
    QSharedPointer<Download> downloadOf(const QString &link) const;
    InstallationJob *addJob(const PackagePointer &package, const PackageVersionPointer &version,
                            const QSharedPointer<Download> &download);
    void onFailed(const InstallationJob &job);
    void endJob(int packageId);

    const Catalogue &m_catalogue;
    InstalledPackageDatabase &m_database;
    Dependencies m_dependencies;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QSharedPointer<ArchiveClaims> m_claims;
    QHash<int, InstallationJob *> m_jobs; ///< by package id
    InstallationQueue m_queue;
};

} // namespace Kavo::Models
