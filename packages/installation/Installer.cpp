#include "packages/installation/Installer.h"

#include "downloads/DownloadManager.h"
#include "packages/installation/PackageOrder.h"
#include "packages/model/DependencyEntry.h"

#include <algorithm>
#include <utility>

namespace Kavo::Models {

Installer::Installer(const Catalogue &catalogue, InstalledPackageDatabase &database,
                     const QSharedPointer<Managers::DownloadManager> &downloads,
                     const InstallationQueue::Context &context, Clock clock, QObject *parent)
    : QObject(parent)
    , m_catalogue(catalogue)
    , m_database(database)
    , m_dependencies(catalogue, database)
    , m_downloads(downloads)
    , m_claims(QSharedPointer<ArchiveClaims>::create())
    , m_clock(std::move(clock))
    , m_queue(catalogue, m_works, context)
{
    connect(&m_queue, &InstallationQueue::taskEnded, this, &Installer::taskEnded);
}

Installer::~Installer() = default;

void Installer::install(const PackagePointer &package, QString &version)
{
    const PackageVersionPointer record = package->findVersion(version);
    if (!m_downloads || !record || !mayStart(*package))
        return;
    version = record->version;
    startWithDependencies(package, version);
}

PackageList Installer::blockers(const PackageList &leaving) const
{
    PackageList blockers;
    for (const InstallationWorkPointer &work : m_works) {
        const auto isInTheWay = [&work](const PackagePointer &package) {
            return package->id() == work->packageId() || work->needs(package->id());
        };
        if (std::any_of(leaving.cbegin(), leaving.cend(), isInTheWay))
            blockers.append(work->package());
    }
    return blockers;
}

QSet<int> Installer::concerned() const
{
    QSet<int> ids;
    for (const InstallationWorkPointer &work : m_works) {
        ids.insert(work->packageId());
        for (const QString &entry : work->version()->depends)
            ids.insert(DependencyEntry::parse(entry).packageId);
    }
    return ids;
}

bool Installer::isConcerned(int packageId) const
{
    return std::any_of(m_works.cbegin(), m_works.cend(),
                       [packageId](const InstallationWorkPointer &work) {
                           return work->packageId() == packageId || work->needs(packageId);
                       });
}

void Installer::showOn(const Catalogue &catalogue)
{
    for (const InstallationWorkPointer &work : qAsConst(m_works)) {
        if (const PackagePointer package = catalogue.resolve(work->packageId()))
            work->showBy(package);
    }
}

QSharedPointer<Download> Installer::runningDownload(const Package &package) const
{
    const Package::State state = package.state();
    if (!m_downloads || (state != Package::DOWNLOADING && state != Package::INSTALLING))
        return {};
    const QString recorded = m_database.version(package);
    const PackageVersionPointer version = package.findVersion(recorded);
    if (recorded.isEmpty() || !version)
        return {};
    return m_downloads->find(version->link);
}

WorkProgress Installer::progress(const Package &package) const
{
    const InstallationWorkPointer work = m_works.value(package.id());
    if (!work)
        return {};
    WorkProgress progress = work->progress();
    if (const PackagePointer awaited = m_queue.awaitedBy(*work))
        progress.waitsFor = awaited->name();
    return progress;
}

/// A second start of the same package would add its archive to the queue twice.
bool Installer::mayStart(const Package &package) const
{
    return !package.isBusy() && !m_works.contains(package.id());
}

void Installer::startWithDependencies(const PackagePointer &package, const QString &version)
{
    // Fixed, see docs/compatibility.md.
    const auto versionOf = [&package, &version](const PackagePointer &wanted) {
        return wanted == package ? version : QString();
    };
    const PackageList order = neighboursFirst(package, [&](const PackagePointer &wanted) {
        PackageList dependencies = m_dependencies.toInstallWith(*wanted, versionOf(wanted));
        const auto cannotStart = [this](const PackagePointer &dependency) {
            return dependency->versions().isEmpty() || !mayStart(*dependency);
        };
        dependencies.erase(std::remove_if(dependencies.begin(), dependencies.end(), cannotStart),
                           dependencies.end());
        return dependencies;
    });
    for (const PackagePointer &wanted : order) {
        // A receiver of the signals of one start may have started another package.
        if (mayStart(*wanted))
            start(wanted, wanted->findVersion(versionOf(wanted)));
    }
}

void Installer::start(const PackagePointer &package, const PackageVersionPointer &version)
{
    const QSharedPointer<Download> download = downloadOf(version->link);
    if (!version->sha256.isEmpty())
        download->setHashed(true);
    const auto work = InstallationWorkPointer::create(package, version, download, m_clock);
    // A catalogue that was loaded since has a new object for the package.
    if (const PackagePointer current = m_catalogue.resolve(package->id()))
        work->showBy(current);
    m_works.insert(package->id(), work);
    connect(work.data(), &InstallationWork::moved, this,
            [this, weak = work.toWeakRef()] { onMoved(weak.toStrongRef()); });
    emit began(work);
    download->announce();
    if (m_waiting.contains(download))
        work->moveTo(InstallationWork::Phase::PREPARING);
    else
        startDownload(*work);
}

/// The download gets its path when it is added to the queue.
void Installer::startDownload(InstallationWork &work)
{
    m_downloads->add(work.download(), false);
    work.keepArchive(ArchiveClaim(m_claims, work.download()->getPath()));
}

QSharedPointer<Download> Installer::downloadOf(const QString &link)
{
    const QUrl address(link);
    for (const QSharedPointer<Download> &waiting : qAsConst(m_waiting)) {
        if (waiting->getRequest()->url() == address)
            return waiting;
    }
    QSharedPointer<Download> download = m_downloads->find(link);
    // A download that the probe found complete stays in the queue, but is finished.
    while (download && download->getProcess() == Download::Process::Finished) {
        m_downloads->remove(download);
        download = m_downloads->find(link);
    }
    if (download && !download->hasFailed())
        return download;
    const auto fresh = QSharedPointer<Download>::create(link, true, false);
    if (download)
        startAfter(*download, fresh);
    return fresh;
}

/// Both have the same file, so the new transfer must not begin before the failed one has ended.
void Installer::startAfter(const Download &failed, const QSharedPointer<Download> &download)
{
    m_waiting.append(download);
    const auto start = [this, download] {
        m_waiting.removeOne(download);
        const InstallationWorks works = m_works;
        for (const InstallationWorkPointer &work : works) {
            if (work->download() == download)
                startDownload(*work);
        }
    };
    connect(&failed, &Download::finished, this, start, Qt::QueuedConnection);
}

void Installer::onMoved(const InstallationWorkPointer &work)
{
    using Phase = InstallationWork::Phase;
    const auto record = [this, &work] {
        m_database.record(*work->package(), work->version()->version);
    };
    switch (work->phase()) {
    case Phase::STARTING:
    case Phase::PREPARING:
    case Phase::RUNNING:
        break;
    case Phase::DOWNLOADING:
        record();
        break;
    case Phase::QUEUED:
        record();
        m_queue.append(work);
        m_queue.processPendingInstallations();
        break;
    case Phase::REPLACING:
        m_database.forgetWhole(*work->package());
        break;
    case Phase::INSTALL_FAILED:
        // Repeated in case it failed before.
        if (work->result().touched)
            m_database.forgetWhole(*work->package());
        record();
        onEnded(work);
        break;
    case Phase::INSTALLED:
    case Phase::DOWNLOAD_FAILED:
    case Phase::DEPENDENCY_FAILED:
        record();
        onEnded(work);
        break;
    }
}

void Installer::onEnded(const InstallationWorkPointer &work)
{
    m_works.remove(work->packageId());
    emit ended(work);
    // The work is the sender of the signal that is being handled, so it is released later.
    m_ended.append(work);
    QMetaObject::invokeMethod(
        this, [this] { m_ended.clear(); }, Qt::QueuedConnection);
    // Work that waits for this package may start or fail now; no other event may ever trigger the
    // queue.
    m_queue.processPendingInstallations();
}

} // namespace Kavo::Models
