#pragma once

#include "core/ArchiveReader.h"
#include "packages/installation/PackageFiles.h"
#include "packages/model/FailureReason.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Models {

/// Checks a downloaded archive before an installation touches anything, so that a bad archive does
/// not cost the installed version. Blocks; may be used on any thread.
class ArchiveInspection final
{
public:
    /// `digest` is the SHA-256 of the archive, or empty if it has to be computed.
    ArchiveInspection(QString archive, QByteArray digest, const QString &extractor);

    /// Returns the reason why this archive cannot be installed as this version, or no reason.
    /// `target` is the folder to unpack into.
    FailureReason examine(const PackageVersion &version, const QString &target);

    /// Checks whether the existing archive is the one that the catalogue describes.
    FailureReason compare(const PackageVersion &version) const;

    /// The listing of the archive if no reason was found.
    const Extractors::ArchiveListing &listing() const { return m_reader.listing(); }

private:
    FailureReason look(const QString &target);

    QString m_archive;
    QByteArray m_digest;
    Extractors::ArchiveReader m_reader;
};

} // namespace Kavo::Models
