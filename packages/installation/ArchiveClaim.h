#pragma once

#include "packages/installation/ArchiveClaims.h"

#include <QSharedPointer>
#include <QString>

namespace Kavo::Models {

/// A claim on a downloaded archive: while it exists, nobody else deletes the file. It can be moved,
/// also to another thread, but not copied.
class ArchiveClaim final
{
public:
    /// A claim on nothing.
    ArchiveClaim() = default;
    ArchiveClaim(QSharedPointer<ArchiveClaims> claims, QString archive);
    /// Releases the claim; the file stays.
    ~ArchiveClaim();

    ArchiveClaim(const ArchiveClaim &) = delete;
    ArchiveClaim &operator=(const ArchiveClaim &) = delete;
    ArchiveClaim(ArchiveClaim &&other) noexcept;
    ArchiveClaim &operator=(ArchiveClaim &&other) noexcept;

    /// Path of the archive, empty for a claim on nothing.
    const QString &archive() const { return m_archive; }

    /// Releases the claim, and deletes the file unless there is another claim on it.
    void deleteArchive();

private:
    QSharedPointer<ArchiveClaims> m_claims; ///< null for a claim on nothing
    QString m_archive;
};

} // namespace Kavo::Models
