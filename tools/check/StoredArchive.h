#pragma once

#include "core/ArchiveReader.h"
#include "packages/model/PackageVersion.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Kavo::Tools {

/// An archive on the disk, as clients see it. It is listed once and read once for its
/// checksum, and the latter only when that is asked for. Blocks; for one thread at a time.
class StoredArchive final
{
public:
    StoredArchive(const QString &path, const QString &extractor);

    /// As ArchiveReader::list() tells it.
    Extractors::ArchiveReader::Outcome outcome() const { return m_outcome; }
    /// The same as ArchiveReader's, but that also the file in a stream has a name.
    const Extractors::ArchiveListing &listing() const { return m_listing; }

    /// The file of an archive that holds a single one and nothing else but folders, else empty.
    QString onlyFile() const;

    /// The path of an entry that leads out of the folder to unpack into, if one does.
    std::optional<QString> wayOut() const;

    /// In bytes.
    qint64 size() const;
    /// The SHA-256, empty when the archive cannot be read.
    QByteArray digest();

    /// Whether clients take the archive for that of the version.
    bool isThatOf(const Models::PackageVersion &version);

private:
    QString m_path;
    QString m_extractor;
    QByteArray m_digest;
    Extractors::ArchiveReader::Outcome m_outcome;
    Extractors::ArchiveListing m_listing;
};

} // namespace Kavo::Tools
