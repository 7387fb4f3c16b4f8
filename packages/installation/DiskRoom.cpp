#include "packages/installation/DiskRoom.h"

#include <QFile>
#include <QHash>
#include <QStorageInfo>

#include <limits>
#include <sys/stat.h>

namespace Kavo {

namespace {

using Extractors::ArchiveEntry;

/// More than any disk has. The sizes are not trusted, and their sum must not overflow.
constexpr qint64 Enormous = std::numeric_limits<qint64>::max() / 4;

QString folderAbove(const QString &path)
{
    return path.left(qMax(path.lastIndexOf(QLatin1Char('/')), 0));
}

/// Adds up the bytes for each disk.
class Demand final
{
public:
    void add(const QString &folder, qint64 size)
    {
        Share &share = m_shares[diskOf(folder)];
        share.size = qMin(share.size + qMin(size, Enormous), Enormous);
    }

    std::optional<MissingRoom> findMissingRoom() const
    {
        for (const Share &share : m_shares) {
            const QStorageInfo disk(share.folder);
            const qint64 needed = share.size + share.size / 10;
            if (disk.isValid() && disk.bytesAvailable() >= 0 && needed > disk.bytesAvailable())
                return MissingRoom{needed, disk.bytesAvailable()};
        }
        return std::nullopt;
    }

private:
    struct Share
    {
        QString folder; ///< a folder on the disk that exists
        qint64 size = 0;
    };

    /// The disk of a folder that exists or would be created.
    dev_t diskOf(const QString &folder)
    {
        const auto known = m_disks.constFind(folder);
        if (known != m_disks.constEnd())
            return *known;
        struct stat status = {};
        dev_t disk = 0;
        if (::stat(QFile::encodeName(folder).constData(), &status) == 0) {
            disk = status.st_dev;
            m_shares[disk].folder = folder;
        } else if (!folder.isEmpty()) {
            disk = diskOf(folderAbove(folder));
        }
        m_disks.insert(folder, disk);
        return disk;
    }

    QHash<QString, dev_t> m_disks; ///< by folder
    QHash<dev_t, Share> m_shares;
};

} // namespace

std::optional<MissingRoom> findMissingRoom(const Extractors::ArchiveListing &listing,
                                           const QString &folder)
{
    Demand demand;
    for (const ArchiveEntry &entry : listing.entries) {
        if (entry.kind == ArchiveEntry::Kind::FILE && entry.size > 0)
            demand.add(folderAbove(folder + QLatin1Char('/') + entry.path), entry.size);
    }
    return demand.findMissingRoom();
}

} // namespace Kavo
