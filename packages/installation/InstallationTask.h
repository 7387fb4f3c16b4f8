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

/// Installs a downloaded archive into the simulator. Created on the main thread and run once on a
/// worker thread, which it blocks until 7-Zip has ended. On success it sets the package INSTALLED.
/// It uses no database.
class InstallationTask final
{
public:
    /// `digest` is the SHA-256 of the archive if it is known, else empty.
    InstallationTask(PackagePointer package, PackageVersionPointer version, ArchiveClaim archive,
                     QByteArray digest, PackageFolders folders, QString extractor);

    /// Runs the installation. Releases the claim on the archive at the end in any case; the archive
    /// is deleted unless another package needs it.
    ///
    /// Nothing in the simulator changes before `permit` is granted.
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
