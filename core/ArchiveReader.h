#pragma once

#include "core/ArchiveEntry.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo::Extractors {

class ArchiveListingReader;

/// Reads what is in an archive, with the 7-Zip command-line program and without unpacking anything
/// to the disk. Blocks the thread that it is used on; callable from any thread.
class ArchiveReader final
{
public:
    enum class Outcome {
        LISTED,
        UNREADABLE, ///< no archive, or cut
        ENCRYPTED,  ///< cannot be unpacked without a password
        NOT_RUN,    ///< 7-Zip could not be started or was killed
    };

    /// `program` is what P7ZipExtractor gets.
    ArchiveReader(QString program, const QString &archive);

    /// Reads the list of the archive. The target of each link is known afterwards, and a stream has
    /// been decompressed once to see that it is whole.
    Outcome list();

    /// What list() has found; empty unless it returned LISTED.
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
