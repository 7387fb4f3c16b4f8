#include "packages/installation/InstallationTask.h"

#include "core/Installation.h"
#include "core/Log.h"
#include "core/P7ZipExtractor.h"
#include "core/Paths.h"
#include "packages/installation/LinkedFolders.h"
#include "packages/installation/UnpackedFiles.h"

#include <utility>

namespace Kavo::Models {

InstallationTask::InstallationTask(PackagePointer package, PackageVersionPointer version,
                                   ArchiveClaim archive, QByteArray digest, PackageFolders folders,
                                   QString extractor)
    : m_package(std::move(package))
    , m_version(std::move(version))
    , m_archive(std::move(archive))
    , m_digest(std::move(digest))
    , m_folders(std::move(folders))
    , m_extractor(std::move(extractor))
{}

InstallationResult InstallationTask::run(RemovalPermit &permit)
{
    const InstallationResult result = install(permit);
    if (!result.succeeded)
        logLine(QStringLiteral("Installation failed : ") + result.reason.logText());
    logLine(QStringLiteral("Removing file : ") + m_archive.archive());
    m_archive.deleteArchive();
    return result;
}

InstallationResult InstallationTask::install(RemovalPermit &permit) const
{
    InstallationResult result;
    const PackageFiles files(m_folders, *m_version, m_package->id());
    ArchiveInspection inspection(m_archive.archive(), m_digest, m_extractor);
    result.reason = prepare(files, inspection);
    if (!result.reason.isNone())
        return result;
    permit.ask();
    result.touched = true;
    // Fixed, see docs/compatibility.md.
    files.remove();
    if (!unpack(files, inspection.listing())) {
        result.reason = FailureReason(FailureReason::Kind::UNPACKING_FAILED);
        return result;
    }
    files.restorePreserved();

    m_package->setUpdateAvailable(m_package->hasUpdateAfter(m_version->version));
    m_package->setState(Package::INSTALLED);
    result.succeeded = true;
    return result;
}

/// Performs all checks before anything changes. A failure here leaves the installed version
/// untouched.
FailureReason InstallationTask::prepare(const PackageFiles &files,
                                        ArchiveInspection &inspection) const
{
    using Kind = FailureReason::Kind;
    if (!holdsSimulator(m_folders.installation))
        return FailureReason(Kind::SIMULATOR_MISSING, {m_folders.installation});
    if (files.extractFolder().isEmpty())
        return FailureReason(Kind::FOLDER_OUTSIDE, {m_version->install->extract});
    const FailureReason found = inspection.examine(*m_version, files.extractFolder());
    if (!found.isNone())
        return found;
    // The following removal uses the rules of the new version, also for a first installation. An
    // original that these rules both back up and remove must be saved before, and its backup is
    // kept until the package is removed.
    const QString unsafe = files.secure();
    return unsafe.isEmpty() ? FailureReason() : FailureReason(Kind::COPY_FAILED, {unsafe});
}

bool InstallationTask::unpack(const PackageFiles &files,
                              const Extractors::ArchiveListing &listing) const
{
    const PackageFiles all(m_folders, m_package->withAllBackups(*m_version));
    const PackageFiles::Standing before = all.standing();
    const QString target = files.extractFolder();
    const UnpackedFiles added(listing, target, m_folders.installation);
    const LinkedFolders linked(listing, target);
    ensureDirectory(target, true);
    Extractors::P7ZipExtractor extractor(m_extractor);
    const bool unpacked =
        extractor.extract(m_archive.archive(), target) || linked.explain(extractor.complaints());
    // This includes the partial files of a failed archive, because the next one may bring the same
    // files.
    all.markBrought(before);
    if (!unpacked) {
        added.takeAway();
        all.returnReplaced(before);
    }
    return unpacked;
}

} // namespace Kavo::Models
