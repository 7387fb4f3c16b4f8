#include "packages/Installer.h"

#include "downloads/DownloadManager.h"
#include "packages/InstallationJob.h"

#include <QVector>

namespace Kavo::Models {

Installer::Installer(const Catalogue &catalogue, InstalledPackageDatabase &database,
                     const QSharedPointer<Managers::DownloadManager> &downloads,
                     const InstallationQueue::Settings &settings, QObject *parent)
    : QObject(parent)
    , m_catalogue(catalogue)
    , m_database(database)
    , m_dependencies(catalogue, database)
    , m_downloads(downloads)
    , m_claims(QSharedPointer<ArchiveClaims>::create())
    , m_queue(catalogue, settings, m_claims)
{
    connect(&m_queue, &InstallationQueue::recordable, this,
            [this](const PackagePointer &package, const QString &version) {
                m_database.record(*package, version);
            });
    connect(&m_queue, &InstallationQueue::ended, this,
            [this](const PackagePointer &package) { endJob(package->id()); });
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

void Installer::continueWith(const Catalogue &catalogue)
{
    for (const InstallationJob *job : qAsConst(m_jobs)) {
        const PackagePointer package = catalogue.find(job->package()->id());
        if (package && package != job->package())
            package->follow(*job->package());
    }
}

QSharedPointer<Download> Installer::runningDownload(Package &package) const
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

/// A second start of the same package would queue its archive twice.
bool Installer::mayStart(const Package &package) const
{
    return !package.isBusy() && !isWorkingOn(package.id());
}

/// Dependencies first, each once: the walk keeps its own stack, because catalogues may chain more
/// packages than calls can be nested, and passes over what it has met, because they may need each
/// other.
void Installer::startWithDependencies(const PackagePointer &package, const QString &version)
{
    struct Step
    {
        PackagePointer package;
        PackageVersionPointer version;
        PackageList dependencies;
    };
    const auto stepFor = [this](const PackagePointer &wanted, const QString &text) {
        return Step{wanted, wanted->findVersion(text), m_dependencies.toInstallWith(*wanted, text)};
    };

    QSet<int> met{package->id()};
    QVector<Step> steps{stepFor(package, version)};
    while (!steps.isEmpty()) {
        Step &step = steps.last();
        if (step.dependencies.isEmpty()) {
            const Step ready = steps.takeLast();
            start(ready.package, ready.version);
            continue;
        }
        const PackagePointer dependency = step.dependencies.takeFirst();
        if (met.contains(dependency->id()) || dependency->versions().isEmpty() ||
            !mayStart(*dependency))
            continue;
        met.insert(dependency->id());
        steps.append(stepFor(dependency, QString()));
    }
}

void Installer::start(const PackagePointer &package, const PackageVersionPointer &version)
{
    const QSharedPointer<Download> download = downloadOf(version->link);
    addJob(package, version, download);
    download->announce();
    m_downloads->add(download, false);
    m_claims->claim(download->getPath());
}

QSharedPointer<Download> Installer::downloadOf(const QString &link) const
{
    QSharedPointer<Download> download = m_downloads->find(link);
    // A download that the probe found complete stays queued, but nothing of it goes on.
    while (download && download->getProcess() == Download::Process::Finished) {
        m_downloads->remove(download);
        download = m_downloads->find(link);
    }
    return download ? download : QSharedPointer<Download>::create(link, true, false);
}

InstallationJob *Installer::addJob(const PackagePointer &package,
                                   const PackageVersionPointer &version,
                                   const QSharedPointer<Download> &download)
{
    auto *job = new InstallationJob(package, version, download, this);
    m_jobs.insert(package->id(), job);
    connect(job, &InstallationJob::recordable, this,
            [this, job] { m_database.record(*job->package(), job->version()->version); });
    connect(job, &InstallationJob::downloaded, this, [this, job] {
        m_queue.append(job->package(), job->version(), job->archive());
        m_queue.processPendingInstallations();
    });
    connect(job, &InstallationJob::failed, this, [this, job] { onFailed(*job); });
    return job;
}

void Installer::onFailed(const InstallationJob &job)
{
    m_claims->release(job.archive());
    endJob(job.package()->id());
    // Packages that wait for this one can be told now; nothing else may ever wake the queue.
    m_queue.processPendingInstallations();
}

void Installer::endJob(int packageId)
{
    // The job may be the sender of the signal that brought us here.
    if (InstallationJob *job = m_jobs.take(packageId))
        job->deleteLater();
}

} // namespace Kavo::Models
