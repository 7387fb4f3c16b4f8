#pragma once

#include "core/ArchiveEntry.h"

#include <QString>

namespace Kavo::Tools {

/// The look at an archive before it is published, with the eyes of clients. Blocks; for one thread
/// at a time.
class ArchiveLook final
{
public:
    enum class Outcome {
        GOOD,
        REFUSED,  ///< clients would not install it, or not as it is meant
        NOT_READ, ///< it could not be looked at
    };

    /// `extractor` is the 7-Zip program.
    ArchiveLook(QString archive, QString extractor);

    Outcome look();
    /// Why the outcome was not a good one, a sentence.
    QString fault() const { return m_fault; }

    QString fileName() const;
    /// In bytes.
    qint64 size() const { return m_size; }
    /// In hexadecimal.
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
