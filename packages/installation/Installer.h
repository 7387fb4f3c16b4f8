#pragma once

#include "packages/catalogue/Catalogue.h"
#include "packages/installation/Dependencies.h"
#include "packages/installation/InstallationQueue.h"
#include "packages/installation/InstallationWork.h"

#include <QObject>
#include <QSet>
#include <QSharedPointer>
#include <QVector>

namespace Kavo::Managers {
class DownloadManager;
}

namespace Kavo::Models {

/// Installs a version and its dependencies: creates an InstallationWork for each package, passes
/// those with complete archives to the queue, and records every step in the database. All work ends
/// when its downloads do. Main thread.
class Installer final : public QObject
{
    Q_OBJECT

public:
    Installer(const Catalogue &catalogue, InstalledPackageDatabase &database,
              const QSharedPointer<Managers::DownloadManager> &downloads,
              const InstallationQueue::Context &context, Clock clock, QObject *parent = nullptr);
    ~Installer() override;

    /// Starts the installation of a version, after those dependencies that are missing or too old.
    /// Returns immediately; the package's state reports the progress. `version` may be empty for
    /// the newest version and holds the chosen version afterwards. Does nothing for a package
    /// without versions and for one that is being installed.
    void install(const PackagePointer &package, QString &version);

    /// Whether a task is running.
    bool isBusy() const { return m_queue.isBusy(); }
    /// Starts or stops holding back further tasks. Downloads continue.
    void setHeld(bool held) { m_queue.setHeld(held); }
    /// The packages being installed that prevent the removal of these: the same packages, and those
    /// that depend on them.
    PackageList blockers(const PackageList &leaving) const;

    /// The ids of the packages being installed and of their dependencies.
    QSet<int> concerned() const;
    /// Whether the id is one of these.
    bool isConcerned(int packageId) const;

    /// Connects the new package objects of the catalogue to the running work.
    void showOn(const Catalogue &catalogue);

    /// The download in the queue for the version being installed, or null.
    QSharedPointer<Download> runningDownload(const Package &package) const;
    WorkProgress progress(const Package &package) const;

signals:
    /// Work has begun. Emitted before any other signal about it.
    void began(const Kavo::Models::InstallationWorkPointer &work);
    /// Work has ended and its result is recorded.
    void ended(const Kavo::Models::InstallationWorkPointer &work);
    /// A task has ended and its result is recorded; isBusy() tells whether the next one has
    /// started.
    void taskEnded();

private:
    bool mayStart(const Package &package) const;
    void startWithDependencies(const PackagePointer &package, const QString &version);
    void start(const PackagePointer &package, const PackageVersionPointer &version);
    QSharedPointer<Download> downloadOf(const QString &link);
    void startAfter(const Download &failed, const QSharedPointer<Download> &download);
    void startDownload(InstallationWork &work);
    void onMoved(const InstallationWorkPointer &work);
    void onEnded(const InstallationWorkPointer &work);

    const Catalogue &m_catalogue;
    InstalledPackageDatabase &m_database;
    Dependencies m_dependencies;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    QSharedPointer<ArchiveClaims> m_claims;
    Clock m_clock;
    InstallationWorks m_works;
    /// Downloads that wait until a failed transfer of the same file has ended.
    QVector<QSharedPointer<Download>> m_waiting;
    QVector<InstallationWorkPointer> m_ended; ///< kept until their end was announced
    InstallationQueue m_queue;
};

} // namespace Kavo::Models
