#include "tools/check/StoredArchive.h"

#include "core/Sha256.h"
#include "packages/installation/ArchiveContainment.h"
#include "packages/installation/ArchiveInspection.h"

#include <QFileInfo>

namespace Kavo::Tools {

using Extractors::ArchiveEntry;

namespace {

/// 7-Zip's name for the file in a stream without a stored name.
QString nameInStream(const QString &path)
{
    const QFileInfo file(path);
    const bool isTar = file.suffix().startsWith(QLatin1Char('t'), Qt::CaseInsensitive);
    return file.completeBaseName() + (isTar ? QStringLiteral(".tar") : QString());
}

} // namespace

StoredArchive::StoredArchive(const QString &path, const QString &extractor)
    : m_path(path)
    , m_extractor(extractor)
{
    Extractors::ArchiveReader reader(extractor, path);
    m_outcome = reader.list();
    m_listing = reader.listing();
    if (m_listing.isStream && m_listing.entries.size() == 1 &&
        m_listing.entries.constFirst().path.isEmpty())
        m_listing.entries.first().path = nameInStream(path);
}

QString StoredArchive::onlyFile() const
{
    const ArchiveEntry *only = nullptr;
    for (const ArchiveEntry &entry : m_listing.entries) {
        if (entry.kind == ArchiveEntry::Kind::FOLDER)
            continue;
        if (only || entry.kind != ArchiveEntry::Kind::FILE)
            return QString();
        only = &entry;
    }
    return only ? only->path : QString();
}

std::optional<QString> StoredArchive::wayOut() const
{
    // The content of a user's simulator is unknown here, so links there do not count.
    return ArchiveContainment(m_listing, QStringLiteral("/dev/null")).wayOut();
}

qint64 StoredArchive::size() const
{
    return QFileInfo(m_path).size();
}

QByteArray StoredArchive::digest()
{
    if (m_digest.isEmpty())
        m_digest = Sha256::ofFile(m_path);
    return m_digest;
}

bool StoredArchive::isThatOf(const Models::PackageVersion &version)
{
    const QByteArray known = version.sha256.isEmpty() ? QByteArray() : digest();
    return Models::ArchiveInspection(m_path, known, m_extractor).compare(version).isNone();
}

} // namespace Kavo::Tools
