#include "packages/InstallationTask.h"

#include "core/Log.h"
#include "core/P7ZipExtractor.h"
#include "core/Paths.h"

#include <QFile>

#include <utility>

namespace Kavo::Models {

InstallationTask::InstallationTask(PackagePointer package, PackageVersionPointer version,
                                   QString archive, PackageFolders folders, QString extractor,
                                   QSharedPointer<ArchiveClaims> claims)
    : m_package(std::move(package))
    , m_version(std::move(version))
    , m_archive(std::move(archive))
    , m_folders(std::move(folders))
    , m_extractor(std::move(extractor))
    , m_claims(std::move(claims))
{}

bool InstallationTask::run() const
{
    // To free the blocks of a large archive takes a while. Held open, it loses its name when it is
    // removed, but the blocks only at the end of this function, when INSTALLED is out already.
    QFile archive(m_archive);
    if (!m_archive.isEmpty())
        archive.open(QIODevice::ReadOnly);
    const bool installed = install();
    logLine(QStringLiteral("Removing file : ") + m_archive);
    m_claims->removeUnlessShared(m_archive);
    m_claims->release(m_archive);
    return installed;
}

bool InstallationTask::install() const
{
    if (m_archive.isEmpty())
        return false;
    const PackageFiles files(m_folders, *m_version);
    if (files.extractFolder().isEmpty()) {
        logLine(QStringLiteral("Skipping path : ") + m_version->install->extract);
        return false;
    }
    files.preserve();
    // The removal below follows the rules of the version that is being installed, also at the
    // first installation: an original that these rules both back up and remove must be safe by
    // then. It stays safe until the package is uninstalled.
    files.backUp();
    files.remove();
    if (!unpack(files))
        return false;
    files.restorePreserved();

    m_package->setUpdateAvailable(m_package->versionIndex(m_version->version) > 0 &&
                                  isOutdated(m_version->version, m_package->newestVersion()));
    m_package->setState(Package::INSTALLED);
    return true;
}

bool InstallationTask::unpack(const PackageFiles &files) const
{
    const QString target = files.extractFolder();
    ensureDirectory(target, true);
    Extractors::P7ZipExtractor extractor(m_extractor);
    if (!extractor.extract(m_archive, target))
        return false;
    m_claims->removeUnlessShared(m_archive);
    return true;
}

} // namespace Kavo::Models
