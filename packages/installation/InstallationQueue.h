#pragma once

#include "packages/catalogue/Catalogue.h"
#include "packages/installation/InstallationTask.h"
#include "packages/installation/InstallationWork.h"

#include <QFutureWatcher>
#include <QList>
#include <QObject>
#include <QVector>

#include <memory>

namespace Kavo::Models {

/// The work with complete archives, in the order of arrival, and the single running task:
///
///     append -> [pending] -> may start? -> task on the thread pool -> INSTALLED or INSTALL_FAILED
///                               | it can never start -> DEPENDENCY_FAILED
///
/// Work may start when the last of its dependencies is installed. It fails if a dependency is
/// unknown or has failed, and if it would wait for a package that is neither installed nor being
/// installed. At most one task runs. The busy mark is set and cleared on the main thread only, so
/// the next task cannot start before the result of the previous one was taken. Main thread.
class InstallationQueue final : public QObject
{
    Q_OBJECT

public:
    /// The values that every task gets.
    struct Context
    {
        PackageFolders folders;
        QString extractor;
    };

    /// `works` holds all running work, in any phase.
    InstallationQueue(const Catalogue &catalogue, const InstallationWorks &works, Context context,
                      QObject *parent = nullptr);
    /// Waits for the running task and records its result.
    ~InstallationQueue() override;

    /// Whether a task is running or its result is still to be taken.
    bool isBusy() const { return m_busy; }

    void append(const InstallationWorkPointer &work) { m_pending.append(work); }

    /// Starts or stops holding back further tasks. A running task continues.
    void setHeld(bool held);

    /// Ends work that can never start, and starts the first work that may start. To be called
    /// whenever work was added or has ended.
    void processPendingInstallations();

    /// The package that this work waits for: of its dependencies the one that is running or else
    /// the first; without dependencies the running one. Null for work that does not wait.
    PackagePointer awaitedBy(const InstallationWork &work) const;

signals:
    /// A task has ended, its result was taken, and the next task has started if there is one.
    void taskEnded();

private:
    enum class Verdict { START, WAIT, FAIL };

    void failHopeless();
    int nextToStart() const;
    Verdict examine(const InstallationWork &work) const;
    QVector<int> waitingFor() const;
    int firstOfCycle() const;
    void start(const InstallationWorkPointer &work);
    void permitRemoval();
    void takeResult(const InstallationResult &result);

    const Catalogue &m_catalogue;
    const InstallationWorks &m_works;
    Context m_context;
    QList<InstallationWorkPointer> m_pending;
    InstallationWorkPointer m_running;       ///< work of the running task
    std::unique_ptr<RemovalPermit> m_permit; ///< of the running task
    bool m_busy = false;
    bool m_held = false;
    bool m_walking = false; ///< set while work is being ended, because that calls this object again
    QFutureWatcher<InstallationResult> m_watcher;
};

} // namespace Kavo::Models
