#pragma once

#include "packages/installation/ArchiveClaim.h"
#include "packages/installation/ArchiveInspection.h"
#include "packages/installation/InstallationResult.h"
#include "packages/installation/PackageFiles.h"
#include "packages/installation/RemovalPermit.h"
#include "packages/model/Package.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Models {

/// Turns a downloaded archive into files of the simulator. Made on the main thread and run once on
/// a worker thread, which it blocks until 7-Zip has ended. It sets the package INSTALLED when it
/// succeeds and touches no database.
class InstallationTask final
{
public:
    /// `digest` is the SHA-256 of the archive where it is known already, else empty.
    InstallationTask(PackagePointer package, PackageVersionPointer version, ArchiveClaim archive,
                     QByteArray digest, PackageFolders folders, QString extractor);

    /// The claim on the archive is released afterwards in any case, and the archive is gone unless
    /// another package still needs it.
    ///
    /// Nothing of the simulator changes before `permit` is granted.
    InstallationResult run(RemovalPermit &permit);

private:
    InstallationResult install(RemovalPermit &permit) const;
    FailureReason prepare(const PackageFiles &files, ArchiveInspection &inspection) const;
    bool unpack(const PackageFiles &files, const Extractors::ArchiveListing &listing) const;

    PackagePointer m_package;
    PackageVersionPointer m_version;
    ArchiveClaim m_archive;
    QByteArray m_digest;
    PackageFolders m_folders;
    QString m_extractor;
};

} // namespace Kavo::Models
