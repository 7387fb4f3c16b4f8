#pragma once

#include "packages/ArchiveClaims.h"
#include "packages/Package.h"
#include "packages/PackageFiles.h"

#include <QSharedPointer>
#include <QString>

namespace Kavo::Models {

/// Turns a downloaded archive into files of the simulator. A value that is handed to a worker
/// thread and run there once; it blocks that thread until 7-Zip has ended. It sets the package
/// INSTALLED when it succeeds and touches no database.
class InstallationTask final
{
public:
    InstallationTask(PackagePointer package, PackageVersionPointer version, QString archive,
                     PackageFolders folders, QString extractor,
                     QSharedPointer<ArchiveClaims> claims);

    /// Returns whether the version is installed. The archive is gone afterwards in any case,
    /// unless another package still needs it.
    bool run() const;

private:
    bool install() const;
    bool unpack(const PackageFiles &files) const;

    PackagePointer m_package;
    PackageVersionPointer m_version;
    QString m_archive;
    PackageFolders m_folders;
    QString m_extractor;
    QSharedPointer<ArchiveClaims> m_claims;
};

} // namespace Kavo::Models
