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

/// Brings a version and what it depends on into the simulator: begins a piece of work for each
/// package, hands those whose archive is complete to the queue and has every step remembered in the
/// database. Every piece of work ends as soon as its downloads do. Main thread.
class Installer final : public QObject
{
    Q_OBJECT

public:
    Installer(const Catalogue &catalogue, InstalledPackageDatabase &database,
              const QSharedPointer<Managers::DownloadManager> &downloads,
              const InstallationQueue::Context &context, Clock clock, QObject *parent = nullptr);
    ~Installer() override;

    /// Starts a version, and before it whatever it depends on that is missing or too old. Returns
    /// at once; the package's state tells the rest. `version` may be empty for the newest one and
    /// holds the version that is meant afterwards. Does nothing for a package without versions and
    /// for one that is already being worked on.
    void install(const PackagePointer &package, QString &version);

    /// Whether a task is running.
    bool isBusy() const { return m_queue.isBusy(); }
    /// Whether to start no other task for the time being. Downloads go on.
    void setHeld(bool held) { m_queue.setHeld(held); }
    /// The packages on their way that keep these from being removed: the very ones, and those that
    /// need one of them.
    PackageList blockers(const PackageList &leaving) const;

    /// Ids of what is on its way and of what that needs.
    QSet<int> concerned() const;
    /// Whether the id is among these.
    bool isConcerned(int packageId) const;

    /// Makes new objects of the catalogue show the work that is going on.
    void showOn(const Catalogue &catalogue);

    /// The queued download of the version that is on its way, or null.
    QSharedPointer<Download> runningDownload(const Package &package) const;
    WorkProgress progress(const Package &package) const;

signals:
    /// A package is on its way, as the first thing that is heard of it.
    void began(const Kavo::Models::InstallationWorkPointer &work);
    /// One is no longer on its way, and what has become of it is recorded.
    void ended(const Kavo::Models::InstallationWorkPointer &work);
    /// A task has come to its end and is recorded; isBusy() tells whether another one has begun.
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
    QVector<InstallationWorkPointer> m_ended; ///< until nobody is being told of their end
    InstallationQueue m_queue;
};

} // namespace Kavo::Models
