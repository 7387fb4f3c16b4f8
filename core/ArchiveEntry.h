#pragma once

#include <QMetaType>
#include <QString>
#include <QVector>

namespace Kavo::Extractors {

/// The kind of file that an entry becomes when it is unpacked.
struct ArchiveEntry
{
    enum class Kind {
        FILE,
        FOLDER,
        SYMBOLIC_LINK,
        HARD_LINK, ///< another name of an entry before it
        DEVICE,    ///< also a pipe or a socket
    };

    QString path; ///< as stored in the archive; empty if the format stores none
    Kind kind = Kind::FILE;
    qint64 size = 0; ///< unpacked size in bytes; 0 if the format does not store it
    QString target;  ///< target of a link; empty if the listing does not show it
    bool isEncrypted = false;
};

/// The entries of an archive in their stored order.
struct ArchiveListing
{
    QVector<ArchiveEntry> entries;
    /// Whether the archive is a single compressed file without an index. Its listing does not show
    /// whether it is complete and usually not how large the file is.
    bool isStream = false;
};

} // namespace Kavo::Extractors
