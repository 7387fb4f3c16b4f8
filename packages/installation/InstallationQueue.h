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

/// The work whose archives are complete, in the order of arrival, and the one task that is running:
///
///     append -> [pending] -> may start? -> task on the thread pool -> INSTALLED or INSTALL_FAILED
///                               | it will never be able to -> DEPENDENCY_FAILED
///
/// Work may start when the last of its dependencies is installed. It ends when a dependency is
/// unknown or failed, and when it would wait for a package that is neither installed nor on its
/// way. At most one task runs; the busy mark is set and cleared on the main thread only, so that no
/// finished task can be overtaken by the next before its result was taken. Main thread.
class InstallationQueue final : public QObject
{
    Q_OBJECT

public:
    /// What every task gets.
    struct Context
    {
        PackageFolders folders;
        QString extractor;
    };

    /// `works` is everything that is on its way, in whatever phase.
    InstallationQueue(const Catalogue &catalogue, const InstallationWorks &works, Context context,
                      QObject *parent = nullptr);
    /// Waits for the running task and takes its result.
    ~InstallationQueue() override;

    /// Whether a task is running or its result is still to be taken.
    bool isBusy() const { return m_busy; }

    void append(const InstallationWorkPointer &work) { m_pending.append(work); }

    /// A held queue starts nothing; what is running goes on.
    void setHeld(bool held);

    /// Ends the work that has nothing to wait for any more, and starts the first that may start.
    /// To be called whenever something was appended or has ended.
    void processPendingInstallations();

    /// What has to be installed before this work starts: a dependency of its own, of several the
    /// one that is running or else the first; without one whatever is running. Null for work that
    /// waits for nothing.
    PackagePointer awaitedBy(const InstallationWork &work) const;

signals:
    /// A task was running, its result is taken, and if another one may start it has.
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
    InstallationWorkPointer m_running;       ///< what the task is working on while busy
    std::unique_ptr<RemovalPermit> m_permit; ///< of the running task
    bool m_busy = false;
    bool m_held = false;
    bool m_walking = false; ///< ending one piece of work makes the owner call again
    QFutureWatcher<InstallationResult> m_watcher;
};

} // namespace Kavo::Models
