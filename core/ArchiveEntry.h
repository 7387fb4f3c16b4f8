#pragma once

#include <QMetaType>
#include <QString>
#include <QVector>

namespace Kavo::Extractors {

/// What one entry of an archive becomes when it is unpacked.
struct ArchiveEntry
{
    enum class Kind {
        FILE,
        FOLDER,
        SYMBOLIC_LINK,
        HARD_LINK, ///< another name of an entry before it
        DEVICE,    ///< or pipe or socket
    };

    QString path; ///< as the archive has it; empty where the format stores none
    Kind kind = Kind::FILE;
    qint64 size = 0; ///< unpacked, in bytes; 0 where the format does not store it
    QString target;  ///< of links; empty where the listing does not tell it
    bool isEncrypted = false;
};

/// The content of an archive, in its order.
struct ArchiveListing
{
    QVector<ArchiveEntry> entries;
    /// Whether the archive is one compressed file without an index. The listing says neither
    /// whether it is whole nor, mostly, how large the file is.
    bool isStream = false;
};

} // namespace Kavo::Extractors
