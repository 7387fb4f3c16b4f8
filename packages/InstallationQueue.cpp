#include "packages/InstallationQueue.h"

#include "packages/Dependencies.h"

#include <QHash>
#include <QtConcurrent>

#include <utility>

namespace Kavo::Models {

InstallationQueue::InstallationQueue(const Catalogue &catalogue, Settings settings,
                                     QSharedPointer<ArchiveClaims> claims, QObject *parent)
    : QObject(parent)
    , m_catalogue(catalogue)
    , m_settings(std::move(settings))
    , m_claims(std::move(claims))
{}

InstallationQueue::~InstallationQueue()
{
    if (!m_busy)
        return;
    // No event loop will deliver the result any more, but the files are on the disk. Asking for the
    // result waits for it.
    m_watcher.disconnect();
    m_pending.clear();
    takeResult(m_watcher.result());
}

void InstallationQueue::append(const PackagePointer &package, const PackageVersionPointer &version,
                               const QString &archive)
{
    m_pending.append({package, version, archive});
}

void InstallationQueue::processPendingInstallations()
{
    if (m_busy || m_pending.isEmpty())
        return;
    failHopeless();
    const int position = nextToStart();
    if (position >= 0)
        start(m_pending.takeAt(position));
}

/// A failed entry may be the dependency of one before it, so the walk begins again until a whole
/// one finds nothing.
void InstallationQueue::failHopeless()
{
    int position = 0;
    while (position < m_pending.size()) {
        if (examine(m_pending.at(position)) == Verdict::FAIL) {
            fail(position);
            position = 0;
        } else {
            ++position;
        }
    }
}

void InstallationQueue::fail(int position)
{
    const Entry entry = m_pending.takeAt(position);
    m_claims->release(entry.archive);
    entry.package->setState(Package::DEPENDENCY_ERROR);
    emit recordable(entry.package, entry.version->version);
    emit ended(entry.package);
}

/// Position of the entry to start, or -1.
int InstallationQueue::nextToStart()
{
    for (int position = 0; position < m_pending.size(); ++position) {
        Entry &entry = m_pending[position];
        if (examine(entry) == Verdict::START)
            return position;
        // The entry changes nothing of the record while it waits: once is enough.
        if (!std::exchange(entry.waitRecorded, true))
            emit recordable(entry.package, entry.version->version);
    }
    return firstOfCycle();
}

InstallationQueue::Verdict InstallationQueue::examine(const Entry &entry) const
{
    Verdict verdict = Verdict::START;
    for (const QString &text : entry.version->depends) {
        const PackagePointer dependency =
            m_catalogue.resolve(DependencyEntry::parse(text).packageId);
        if (!dependency || Package::isError(dependency->state()))
            return Verdict::FAIL;
        // The last one listed decides.
        verdict = dependency->state() == Package::INSTALLED ? Verdict::START : Verdict::WAIT;
    }
    return verdict;
}

/// For each entry the position of the entry that it waits for, or -1 when that is not pending.
QVector<int> InstallationQueue::waitingFor() const
{
    QHash<int, int> positions;
    for (int position = m_pending.size() - 1; position >= 0; --position)
        positions.insert(m_pending.at(position).package->id(), position);

    QVector<int> targets;
    targets.reserve(m_pending.size());
    for (const Entry &entry : m_pending) {
        const bool waits = examine(entry) == Verdict::WAIT;
        targets.append(
            waits ? positions.value(DependencyEntry::parse(entry.version->depends.last()).packageId,
                                    -1)
                  : -1);
    }
    return targets;
}

/// Packages that need each other wait for each other for ever; one of them has to go ahead.
/// Returns the position of the first entry found to wait for itself, or -1.
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

void InstallationQueue::start(const Entry &entry)
{
    InstallationTask task(entry.package, entry.version, entry.archive, m_settings.folders,
                          m_settings.extractor, m_claims);
    m_busy = true;
    m_running = entry;
    m_watcher.disconnect();
    connect(&m_watcher, &QFutureWatcher<bool>::finished, this,
            [this] { takeResult(m_watcher.result()); });
    // The thread pool drops what it ran only after the result is there. By then the task must have
    // let go of the package, which may have no other holder left and belongs to the main thread.
    m_watcher.setFuture(QtConcurrent::run([task]() mutable {
        const InstallationTask running = std::move(task);
        return running.run();
    }));
}

void InstallationQueue::takeResult(bool succeeded)
{
    const Entry entry = std::exchange(m_running, Entry());
    entry.package->setState(succeeded ? Package::INSTALLED : Package::INSTALL_ERROR);
    emit recordable(entry.package, entry.version->version);
    m_busy = false;
    emit ended(entry.package);
    processPendingInstallations();
}

} // namespace Kavo::Models
