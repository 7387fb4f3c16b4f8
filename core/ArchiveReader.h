#pragma once

#include "core/ArchiveEntry.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo::Extractors {

class ArchiveListingReader;

/// Lists the content of an archive with the 7-Zip command-line program, without unpacking it to the
/// disk. Blocks the calling thread; may be used on any thread.
class ArchiveReader final
{
public:
    enum class Outcome {
        LISTED,
        UNREADABLE, ///< not an archive, or truncated
        ENCRYPTED,  ///< needs a password
        NOT_RUN,    ///< 7-Zip could not be started or was killed
    };

    /// `program` is the same as for P7ZipExtractor.
    ArchiveReader(QString program, const QString &archive);

    /// Lists the archive. Afterwards the target of each link is known, and a stream without an
    /// index has been decompressed once to check that it is complete.
    Outcome list();

    /// The result of list(), empty unless it returned LISTED.
    const ArchiveListing &listing() const { return m_listing; }

private:
    Outcome readList(ArchiveListingReader &reader) const;
    bool testStream();
    bool readTargets();
    bool readTargets(const QVector<int> &links);
    std::optional<QByteArray> output(const QStringList &arguments, qint64 longest) const;

    QString m_program;
    QString m_archive;
    ArchiveListing m_listing;
};

} // namespace Kavo::Extractors
