#pragma once

#include "core/ArchiveReader.h"
#include "packages/installation/PackageFiles.h"
#include "packages/model/FailureReason.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Models {

/// The look at a downloaded archive before an installation touches anything: what is known to be
/// bad must not cost the version before. Blocks; callable from any thread.
class ArchiveInspection final
{
public:
    /// `digest` is the SHA-256 of the archive, or empty when it is yet to be computed.
    ArchiveInspection(QString archive, QByteArray digest, const QString &extractor);

    /// Finds out why this archive cannot be installed as this version, or that nothing speaks
    /// against it. `target` is the folder to unpack into.
    FailureReason examine(const PackageVersion &version, const QString &target);

    /// Whether the archive, which is there, is the one that the catalogue tells of.
    FailureReason compare(const PackageVersion &version) const;

    /// What the archive holds, once nothing spoke against it.
    const Extractors::ArchiveListing &listing() const { return m_reader.listing(); }

private:
    FailureReason look(const QString &target);

    QString m_archive;
    QByteArray m_digest;
    Extractors::ArchiveReader m_reader;
};

} // namespace Kavo::Models
