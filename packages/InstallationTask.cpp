#include "packages/InstallationTask.h"

#include "core/Log.h"
#include "core/P7ZipExtractor.h"
#include "core/Paths.h"

#include <utility>

namespace Kavo::Models {

InstallationTask::InstallationTask(PackagePointer package, PackageVersionPointer version,
                                   ArchiveClaim archive, PackageFolders folders, QString extractor)
    : m_package(std::move(package))
    , m_version(std::move(version))
    , m_archive(std::move(archive))
    , m_folders(std::move(folders))
    , m_extractor(std::move(extractor))
{}

InstallationResult InstallationTask::run(RemovalPermit &permit)
{
    const InstallationResult result = install(permit);
    logLine(QStringLiteral("Removing file : ") + m_archive.archive());
    m_archive.deleteArchive();
    return result;
}

InstallationResult InstallationTask::install(RemovalPermit &permit) const
{
    InstallationResult result;
    if (m_archive.archive().isEmpty())
        return result;
    const PackageFiles files(m_folders, *m_version);
    if (files.extractFolder().isEmpty()) {
        logLine(QStringLiteral("Skipping path : ") + m_version->install->extract);
        return result;
    }
    // The removal below follows the rules of the version that is being installed, also at the
    // first installation: an original that these rules both back up and remove must be safe by
    // then. It stays safe until the package is uninstalled.
    if (!files.secure().isEmpty())
        return result;
    permit.ask();
    result.touched = true;
    files.remove();
    if (!unpack(files))
        return result;
    files.restorePreserved();

    m_package->setUpdateAvailable(m_package->hasUpdateAfter(m_version->version));
    m_package->setState(Package::INSTALLED);
    result.succeeded = true;
    return result;
}

bool InstallationTask::unpack(const PackageFiles &files) const
{
    const PackageFiles all(m_folders, m_package->withAllBackups(*m_version));
    const PackageFiles::Standing before = all.standing();
    const QString target = files.extractFolder();
    ensureDirectory(target, true);
    Extractors::P7ZipExtractor extractor(m_extractor);
    const bool unpacked = extractor.extract(m_archive.archive(), target);
    // Also what has arrived of an archive that fails: the next one may bring the same.
    all.markBrought(before);
    return unpacked;
}

} // namespace Kavo::Models
