#pragma once

#include "core/ArchiveEntry.h"

#include <QString>

namespace Kavo::Tools {

/// Checks an archive before it is published as clients would. Blocks; for one thread at a time.
class ArchiveLook final
{
public:
    enum class Outcome {
        GOOD,
        REFUSED,  ///< clients would not install it, or not as intended
        NOT_READ, ///< it could not be checked
    };

    /// `extractor` is the 7-Zip program.
    ArchiveLook(QString archive, QString extractor);

    Outcome look();
    /// The reason of a failure as a sentence.
    QString fault() const { return m_fault; }

    QString fileName() const;
    /// The size in bytes.
    qint64 size() const { return m_size; }
    /// The digest in hexadecimal.
    QString sha256() const { return m_sha256; }
    const Extractors::ArchiveListing &listing() const { return m_listing; }

private:
    Outcome examine();
    Outcome end(Outcome outcome, const QString &fault);

    QString m_archive;
    QString m_extractor;
    QString m_fault;
    qint64 m_size = 0;
    QString m_sha256;
    Extractors::ArchiveListing m_listing;
};

} // namespace Kavo::Tools
