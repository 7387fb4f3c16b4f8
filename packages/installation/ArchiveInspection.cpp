#include "packages/installation/ArchiveInspection.h"

#include "core/ByteSize.h"
#include "core/Sha256.h"
#include "packages/installation/ArchiveContainment.h"
#include "packages/installation/DiskRoom.h"

#include <QFileInfo>

#include <utility>

namespace Kavo::Models {

using Kind = FailureReason::Kind;
using Outcome = Extractors::ArchiveReader::Outcome;

ArchiveInspection::ArchiveInspection(QString archive, QByteArray digest, const QString &extractor)
    : m_archive(std::move(archive))
    , m_digest(std::move(digest))
    , m_reader(extractor, m_archive)
{}

FailureReason ArchiveInspection::examine(const PackageVersion &version, const QString &target)
{
    if (!QFileInfo(m_archive).isFile())
        return FailureReason(Kind::ARCHIVE_MISSING, {m_archive});
    const FailureReason difference = compare(version);
    return difference.isNone() ? look(target) : difference;
}

/// Compares with the size and digest in the catalogue, if any.
FailureReason ArchiveInspection::compare(const PackageVersion &version) const
{
    const qint64 size = QFileInfo(m_archive).size();
    if (version.size && *version.size != size)
        return FailureReason(Kind::SIZE_DIFFERS,
                             {QString::number(size), QString::number(*version.size)});
    if (version.sha256.isEmpty())
        return FailureReason();
    const QByteArray digest = m_digest.isEmpty() ? Sha256::ofFile(m_archive) : m_digest;
    if (version.sha256.toUtf8().toLower() != digest.toHex())
        return FailureReason(Kind::CHECKSUM_DIFFERS);
    return FailureReason();
}

FailureReason ArchiveInspection::look(const QString &target)
{
    switch (m_reader.list()) {
    case Outcome::LISTED:
        break;
    case Outcome::UNREADABLE:
        return FailureReason(Kind::ARCHIVE_UNREADABLE);
    case Outcome::ENCRYPTED:
        return FailureReason(Kind::ARCHIVE_ENCRYPTED);
    case Outcome::NOT_RUN:
        return FailureReason(Kind::EXTRACTOR_MISSING);
    }
    if (const auto path = ArchiveContainment(m_reader.listing(), target).wayOut())
        return FailureReason(Kind::ENTRY_LEADS_OUT, {*path});
    if (const auto room = findMissingRoom(m_reader.listing(), target))
        return FailureReason(Kind::ROOM_MISSING,
                             {formatByteSize(room->needed), formatByteSize(room->available)});
    return FailureReason();
}

} // namespace Kavo::Models
