#include "packages/installation/InstallationQueue.h"

#include "packages/model/DependencyEntry.h"

#include <QHash>
#include <QScopedValueRollback>
#include <QtConcurrent>

#include <memory>
#include <utility>

namespace Kavo::Models {

namespace {

/// The dependency that determines when the work starts. Only for work that has one.
int lastDependency(const InstallationWork &work)
{
    return DependencyEntry::parse(work.version()->depends.last()).packageId;
}

} // namespace

InstallationQueue::InstallationQueue(const Catalogue &catalogue, const InstallationWorks &works,
                                     Context context, QObject *parent)
    : QObject(parent)
    , m_catalogue(catalogue)
    , m_works(works)
    , m_context(std::move(context))
{}

InstallationQueue::~InstallationQueue()
{
    if (!m_busy)
        return;
    // Without an event loop the task's question and its result are not delivered, but the task has
    // to end. Asking for the result waits for it.
    m_watcher.disconnect();
    m_pending.clear();
    if (m_permit->waitForQuestion())
        permitRemoval();
    takeResult(m_watcher.result());
}

void InstallationQueue::setHeld(bool held)
{
    m_held = held;
    processPendingInstallations();
}

void InstallationQueue::processPendingInstallations()
{
    if (m_busy || m_held || m_walking || m_pending.isEmpty())
        return;
    failHopeless();
    const int position = nextToStart();
    if (position >= 0)
        start(m_pending.takeAt(position));
}

PackagePointer InstallationQueue::awaitedBy(const InstallationWork &work) const
{
    if (work.phase() != InstallationWork::Phase::QUEUED)
        return {};
    const PackagePointer running = m_running ? m_running->package() : PackagePointer();
    if (examine(work) != Verdict::WAIT)
        return running;
    PackagePointer first;
    for (const QString &text : work.version()->depends) {
        const int id = DependencyEntry::parse(text).packageId;
        // Work with an unknown dependency does not wait but fails.
        const PackagePointer dependency = m_catalogue.resolve(id);
        if (dependency->state() == Package::INSTALLED || id == work.packageId())
            continue;
        if (running && running->id() == id)
            return dependency;
        if (!first)
            first = dependency;
    }
    return first ? first : running;
}

/// Failed work may be a dependency of work before it, so the search is repeated until it finds
/// nothing.
void InstallationQueue::failHopeless()
{
    const QScopedValueRollback<bool> walking(m_walking, true);
    int position = 0;
    while (position < m_pending.size()) {
        if (examine(*m_pending.at(position)) == Verdict::FAIL) {
            m_pending.takeAt(position)->moveTo(InstallationWork::Phase::DEPENDENCY_FAILED);
            position = 0;
        } else {
            ++position;
        }
    }
}

/// The index of the work to start, or -1.
int InstallationQueue::nextToStart() const
{
    for (int position = 0; position < m_pending.size(); ++position) {
        if (examine(*m_pending.at(position)) == Verdict::START)
            return position;
    }
    return firstOfCycle();
}

InstallationQueue::Verdict InstallationQueue::examine(const InstallationWork &work) const
{
    Verdict verdict = Verdict::START;
    bool allWillCome = true;
    for (const QString &text : work.version()->depends) {
        const int id = DependencyEntry::parse(text).packageId;
        const PackagePointer dependency = m_catalogue.resolve(id);
        if (!dependency || Package::isError(dependency->state()))
            return Verdict::FAIL;
        const bool installed = dependency->state() == Package::INSTALLED;
        // The last one in the list decides.
        // Fixed, see docs/compatibility.md.
        verdict = installed ? Verdict::START : Verdict::WAIT;
        allWillCome = allWillCome && (installed || m_works.contains(id));
    }
    return verdict == Verdict::WAIT && !allWillCome ? Verdict::FAIL : verdict;
}

/// For each pending work the index of the pending work that it waits for, or -1.
QVector<int> InstallationQueue::waitingFor() const
{
    QHash<int, int> positions;
    for (int position = m_pending.size() - 1; position >= 0; --position)
        positions.insert(m_pending.at(position)->packageId(), position);

    QVector<int> targets;
    targets.reserve(m_pending.size());
    for (const InstallationWorkPointer &work : m_pending) {
        const bool waits = examine(*work) == Verdict::WAIT;
        targets.append(waits ? positions.value(lastDependency(*work), -1) : -1);
    }
    return targets;
}

/// Packages that depend on each other would wait for ever; one of them has to be first. Returns the
/// index of the first work that waits for itself through others, or -1.
int InstallationQueue::firstOfCycle() const
{
    const QVector<int> targets = waitingFor();
    QVector<int> passedOnWalk(targets.size(), -1);
    for (int start = 0; start < targets.size(); ++start) {
        int position = start;
        while (position >= 0 && passedOnWalk.at(position) < 0) {
            passedOnWalk[position] = start;
            position = targets.at(position);
        }
        if (position >= 0 && passedOnWalk.at(position) == start)
            return position;
    }
    return -1;
}

void InstallationQueue::start(const InstallationWorkPointer &work)
{
    auto task = std::make_shared<InstallationTask>(
        work->package(), work->version(), work->takeArchive(), work->download()->getDigest(),
        m_context.folders, m_context.extractor);
    m_busy = true;
    m_running = work;
    m_permit = std::make_unique<RemovalPermit>();
    connect(m_permit.get(), &RemovalPermit::asked, this, &InstallationQueue::permitRemoval);
    work->moveTo(InstallationWork::Phase::RUNNING);
    m_watcher.disconnect();
    connect(&m_watcher, &QFutureWatcher<InstallationResult>::finished, this,
            [this] { takeResult(m_watcher.result()); });
    // The thread pool destroys the function after the result is available. By then the task must
    // have released the package, which belongs to the main thread and may have no other holder, and
    // the archive, which the next task may be the last to need.
    m_watcher.setFuture(QtConcurrent::run([task, permit = m_permit.get()]() mutable {
        const InstallationResult result = std::exchange(task, nullptr)->run(*permit);
        permit->close();
        return result;
    }));
}

/// Observers of the work are notified by this call and do what must not come later.
void InstallationQueue::permitRemoval()
{
    m_running->moveTo(InstallationWork::Phase::REPLACING);
    m_permit->grant();
}

void InstallationQueue::takeResult(const InstallationResult &result)
{
    const InstallationWorkPointer work = std::exchange(m_running, nullptr);
    work->end(result);
    m_busy = false;
    processPendingInstallations();
    emit taskEnded();
}

} // namespace Kavo::Models
