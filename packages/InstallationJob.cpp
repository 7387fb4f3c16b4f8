#include "packages/InstallationJob.h"

namespace Kavo::Models {

InstallationJob::InstallationJob(const PackagePointer &package,
                                 const PackageVersionPointer &version,
                                 const QSharedPointer<Download> &download, QObject *parent)
    : QObject(parent)
    , m_package(package)
    , m_version(version)
    , m_download(download)
{
    connect(download.data(), &Download::fileSize, package.data(), &Package::totalSize);
    connect(download.data(), &Download::currentSize, package.data(), &Package::downloadedSize);
    connect(download.data(), &Download::finished, package.data(), &Package::downloadFinished);
    connect(download.data(), &Download::error, this, &InstallationJob::onError);
    connect(download.data(), &Download::processChanged, this, &InstallationJob::onProcessChanged);
}

void InstallationJob::onProcessChanged(Download::Process process)
{
    switch (process) {
    case Download::Process::Idle:
        break;
    case Download::Process::Header:
        m_package->setState(Package::PREPARING);
        break;
    case Download::Process::Download:
        m_package->setState(Package::DOWNLOADING);
        emit recordable();
        break;
    case Download::Process::Finished:
        // A download that stays queued may be announced again; its archive is taken once.
        disconnect(m_download.data(), &Download::processChanged, this, nullptr);
        m_package->setState(Package::INSTALLING);
        emit recordable();
        emit downloaded();
        break;
    }
}

void InstallationJob::onError()
{
    // The transfer goes on to its end after an error; for this package it is over.
    disconnect(m_download.data(), nullptr, this, nullptr);
    disconnect(m_download.data(), nullptr, m_package.data(), nullptr);
    m_package->setState(Package::DOWNLOAD_ERROR);
    emit recordable();
    emit failed();
}

} // namespace Kavo::Models
