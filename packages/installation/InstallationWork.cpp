#include "packages/installation/InstallationWork.h"

#include "packages/model/DependencyEntry.h"

#include <algorithm>
#include <utility>

namespace Kavo::Models {

namespace {

Package::State stateOf(InstallationWork::Phase phase)
{
    using Phase = InstallationWork::Phase;
    switch (phase) {
    case Phase::STARTING:
        return Package::UNKNOWN;
    case Phase::PREPARING:
        return Package::PREPARING;
    case Phase::DOWNLOADING:
        return Package::DOWNLOADING;
    case Phase::QUEUED:
    case Phase::RUNNING:
    case Phase::REPLACING:
        return Package::INSTALLING;
    case Phase::INSTALLED:
        return Package::INSTALLED;
    case Phase::INSTALL_FAILED:
        return Package::INSTALL_ERROR;
    case Phase::DOWNLOAD_FAILED:
        return Package::DOWNLOAD_ERROR;
    case Phase::DEPENDENCY_FAILED:
        return Package::DEPENDENCY_ERROR;
    }
    Q_UNREACHABLE();
}

} // namespace

InstallationWork::InstallationWork(const PackagePointer &package,
                                   const PackageVersionPointer &version,
                                   const QSharedPointer<Download> &download, Clock clock)
    : m_version(version)
    , m_download(download)
    , m_clock(std::move(clock))
    , m_rate(m_clock())
{
    showBy(package);
    connect(download.data(), &Download::error, this, &InstallationWork::onError);
    connect(download.data(), &Download::processChanged, this, &InstallationWork::onProcessChanged);
    connect(download.data(), &Download::currentSize, this, &InstallationWork::onGrown);
}

bool InstallationWork::needs(int packageId) const
{
    const QStringList &entries = m_version->depends;
    return std::any_of(entries.cbegin(), entries.cend(), [packageId](const QString &entry) {
        return DependencyEntry::parse(entry).packageId == packageId;
    });
}

bool InstallationWork::isEnded() const
{
    switch (m_phase) {
    case Phase::STARTING:
    case Phase::PREPARING:
    case Phase::DOWNLOADING:
    case Phase::QUEUED:
    case Phase::RUNNING:
    case Phase::REPLACING:
        return false;
    case Phase::INSTALLED:
    case Phase::INSTALL_FAILED:
    case Phase::DOWNLOAD_FAILED:
    case Phase::DEPENDENCY_FAILED:
        return true;
    }
    Q_UNREACHABLE();
}

void InstallationWork::moveTo(Phase phase)
{
    if (isEnded())
        return;
    m_phase = phase;
    // Iterates over a copy, because a receiver may add further objects.
    const QVector<PackagePointer> packages = m_shownBy;
    for (const PackagePointer &package : packages) {
        // Determined for each object, because a refresh may have brought newer versions.
        if (phase == Phase::INSTALLED)
            package->setUpdateAvailable(package->hasUpdateAfter(m_version->version));
        package->setState(stateOf(phase));
    }
    emit moved();
}

void InstallationWork::end(const InstallationResult &result)
{
    m_result = result;
    for (const PackagePointer &package : qAsConst(m_shownBy))
        package->setFailure(result.reason);
    moveTo(result.succeeded ? Phase::INSTALLED : Phase::INSTALL_FAILED);
}

WorkProgress InstallationWork::progress() const
{
    WorkProgress progress;
    progress.received = m_download->getCurrentSize();
    progress.total = m_download->getFileSize();
    if (m_phase == Phase::PREPARING || m_phase == Phase::DOWNLOADING) {
        const qint64 now = m_clock();
        progress.secondsLeft = m_rate.secondsLeft(progress.total, now);
        progress.isSilent = m_rate.isSilent(now);
    }
    return progress;
}

void InstallationWork::showBy(const PackagePointer &package)
{
    if (m_shownBy.contains(package))
        return;
    m_shownBy.append(package);
    connect(m_download.data(), &Download::fileSize, package.data(), &Package::totalSize);
    connect(m_download.data(), &Download::currentSize, package.data(), &Package::downloadedSize);
    connect(m_download.data(), &Download::finished, package.data(), &Package::downloadFinished);
    if (m_phase != Phase::STARTING)
        package->setState(stateOf(m_phase));
}

void InstallationWork::onProcessChanged(Download::Process process)
{
    switch (process) {
    case Download::Process::Idle:
        break;
    case Download::Process::Header:
        moveTo(Phase::PREPARING);
        break;
    case Download::Process::Download:
        // The server has answered, even if no byte of the file has arrived.
        m_rate = Managers::TransferRate(m_clock());
        moveTo(Phase::DOWNLOADING);
        break;
    case Download::Process::Finished:
        // A download that stays in the queue may be announced again, but its archive is taken once.
        disconnect(m_download.data(), &Download::processChanged, this, nullptr);
        moveTo(Phase::QUEUED);
        break;
    }
}

void InstallationWork::onError()
{
    // After an error the transfer continues to its end, but no longer for this package.
    disconnect(m_download.data(), nullptr, this, nullptr);
    for (const PackagePointer &package : qAsConst(m_shownBy))
        disconnect(m_download.data(), nullptr, package.data(), nullptr);
    moveTo(Phase::DOWNLOAD_FAILED);
}

void InstallationWork::onGrown(qint64 size)
{
    m_rate.add(size, m_clock());
}

} // namespace Kavo::Models
