#pragma once

#include "core/Sha256.h"
#include "downloads/FileOrigin.h"

#include <QFile>
#include <QString>

#include <optional>

namespace Kavo::Managers {

/// The file that a transfer fills. It knows what an earlier transfer left there and what that is
/// worth, takes the bytes in, counts those that could not be written, and says on the disk where
/// they come from. It knows nothing of HTTP.
///
/// A file that another transfer is writing already can be filled in another place; it takes its own
/// one when it is whole (settle()).
class PartialFile final
{
public:
    /// What to do about what lies in the file's place.
    enum class Plan {
        Finish,  ///< it is whole
        Resume,  ///< it is the beginning: fetch the rest
        Restart, ///< it is of something else: discard() it, fetch all
        Append,  ///< it cannot be compared, or nothing is there: fetch all, put it behind
    };

    /// `place` is where the file belongs, `growsAt` where it is written meanwhile; mostly the same.
    PartialFile(const QString &place, const QString &growsAt);

    /// Compares what is there with what the server tells: the size of the whole in bytes, when
    /// known, and the origin. Changes nothing.
    Plan plan(const std::optional<qint64> &wholeSize, const FileOrigin &origin) const;

    /// Removes what is there; nothing of it will be in the file.
    void discard();

    /// Opens the file, which is made when missing, unless it is open. The origin is remembered
    /// with it; a file that has bytes already keeps what it tells of theirs. One that cannot be
    /// opened, as a pipe or a device in its place, loses what is appended; until then it may be
    /// tried again.
    void open(const FileOrigin &origin);
    /// Adds bytes to the file. What the disk does not take is lost, and so is all that comes
    /// after it: the file stays a beginning that can be gone on with.
    void append(const char *bytes, qint64 count);
    /// Has the content hashed while it is written. To be called before open().
    void hashContent() { m_isHashed = true; }
    /// The SHA-256 of the file, when all of it was written since open() and hashContent() was
    /// called; else empty. To be called once, when nothing is to be appended any more.
    QByteArray digest();
    /// What the file tells of its bytes' origin.
    FileOrigin origin() const { return FileOrigin::read(m_file.fileName()); }
    /// Bytes that came and are not in the file.
    qint64 lostBytes() const { return m_lostBytes; }
    /// Bytes on the disk, also while the file is closed; 0 when it is none.
    qint64 size() const;

    /// Closes the file and brings one that grew elsewhere to its place, in one step; removes it
    /// instead when it is not to be used. What cannot be brought there is lost. A link that leads
    /// to no file is removed when bytes were lost, and so is a pipe or a socket.
    void settle(bool isUsable);

private:
    bool isDeadEnd() const;

    QString m_place;
    QFile m_file;
    bool m_discards = false;
    bool m_isHashed = false;
    std::optional<Sha256> m_hash; ///< of a file that was written from its first byte on
    qint64 m_lostBytes = 0;
};

} // namespace Kavo::Managers
