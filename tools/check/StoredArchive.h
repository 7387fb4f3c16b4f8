#pragma once

#include "core/ArchiveReader.h"
#include "packages/model/PackageVersion.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Kavo::Tools {

/// An archive on the disk as clients see it. It is listed once, and read for its checksum only on
/// request, once. Blocks; for one thread at a time.
class StoredArchive final
{
public:
    StoredArchive(const QString &path, const QString &extractor);

    /// The result of ArchiveReader::list().
    Extractors::ArchiveReader::Outcome outcome() const { return m_outcome; }
    /// The listing of ArchiveReader, in which also the file in a stream has a name.
    const Extractors::ArchiveListing &listing() const { return m_listing; }

    /// The only file of an archive that contains nothing else but folders, else empty.
    QString onlyFile() const;

    /// The path of an entry that would leave the folder to unpack into, if there is one.
    std::optional<QString> wayOut() const;

    /// The size of the archive in bytes.
    qint64 size() const;
    /// The SHA-256 of the archive, empty if it cannot be read.
    QByteArray digest();

    /// Whether clients accept the archive as that of the version.
    bool isThatOf(const Models::PackageVersion &version);

private:
    QString m_path;
    QString m_extractor;
    QByteArray m_digest;
    Extractors::ArchiveReader::Outcome m_outcome;
    Extractors::ArchiveListing m_listing;
};

} // namespace Kavo::Tools
