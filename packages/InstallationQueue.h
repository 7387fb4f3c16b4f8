#pragma once

#include "packages/ArchiveClaims.h"
#include "packages/Catalogue.h"
#include "packages/InstallationTask.h"

#include <QFutureWatcher>
#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QVector>

namespace Kavo::Models {

/// Packages whose archives are complete, in the order of their arrival, and the one task that is
/// running:
///
///     append -> [pending] -> may start? -> task on the thread pool -> ended
///                               | a dependency failed or is unknown -> ended
///
/// An entry may start when the last of its dependencies is installed. At most one task runs; the
/// busy mark is set and cleared on the main thread only, so that no finished task can be overtaken
/// by the next before its result was taken. Main thread.
class InstallationQueue final : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        PackageFolders folders;
        QString extractor;
    };

    InstallationQueue(const Catalogue &catalogue, Settings settings,
                      QSharedPointer<ArchiveClaims> claims, QObject *parent = nullptr);
    /// Waits for the running task and announces its result.
    ~InstallationQueue() override;

    /// Whether a task is running or its result is still to be taken.
    bool isBusy() const { return m_busy; }

    void append(const PackagePointer &package, const PackageVersionPointer &version,
                const QString &archive);

    /// Starts the next entry that may start and sorts out those that never will.
    void processPendingInstallations();

signals:
    /// The package's state is to be remembered with this version.
    void recordable(const Kavo::Models::PackagePointer &package, const QString &version);
    /// The package has left the queue for good, installed or failed.
    void ended(const Kavo::Models::PackagePointer &package);

private:
    struct Entry
    {
        PackagePointer package = {};
        PackageVersionPointer version = {};
        QString archive = {};
        bool waitRecorded = false;
    };
    enum class Verdict { START, WAIT, FAIL };

    void failHopeless();
    void fail(int position);
    int nextToStart();
    Verdict examine(const Entry &entry) const;
    QVector<int> waitingFor() const;
    int firstOfCycle() const;
    void start(const Entry &entry);
    void takeResult(bool succeeded);

    const Catalogue &m_catalogue;
    Settings m_settings;
    QSharedPointer<ArchiveClaims> m_claims;
    QList<Entry> m_pending;
    Entry m_running; ///< what the task is working on while busy
    bool m_busy = false;
    QFutureWatcher<bool> m_watcher;
};

} // namespace Kavo::Models
