#pragma once

#include "core/Sha256.h"
#include "downloads/FileOrigin.h"

#include <QFile>
#include <QString>

#include <optional>

namespace Kavo::Managers {

/// The file that a transfer writes. It judges what an earlier transfer has left there, appends the
/// received bytes, counts the bytes that could not be written, and stores the origin of its
/// content. It knows nothing of HTTP.
///
/// While another transfer writes the same file, this one can be written elsewhere; settle() moves
/// it to its place when it is complete.
class PartialFile final
{
public:
    /// What to do with the existing file.
    enum class Plan {
        Finish,  ///< it is complete
        Resume,  ///< it is the beginning of the file: fetch the rest
        Restart, ///< it belongs to something else: discard() it and fetch all
        Append,  ///< it cannot be compared, or does not exist: fetch all and append
    };

    /// `place` is the final path, `growsAt` the path that is written until the file is complete;
    /// they are mostly the same.
    PartialFile(const QString &place, const QString &growsAt);

    /// Compares the existing file with what the server says: its full size in bytes, if known, and
    /// its origin. Changes nothing.
    Plan plan(const std::optional<qint64> &wholeSize, const FileOrigin &origin) const;

    /// Removes the existing file.
    void discard();

    /// Opens the file, creating it if necessary, unless it is open. Stores the origin with it; a
    /// file that is not empty keeps its stored origin. If the file cannot be opened, for example
    /// because a pipe or a device is in its place, appended bytes are lost; until then open() may
    /// be repeated.
    void open(const FileOrigin &origin);
    /// Appends bytes to the file. After bytes that could not be written all further ones are
    /// dropped, so the file remains a beginning that can be resumed.
    void append(const char *bytes, qint64 count);
    /// Hashes the content while it is written. To be called before open().
    void hashContent() { m_isHashed = true; }
    /// The SHA-256 of the file if all of it was written since open() and hashContent() was called,
    /// else empty. To be called once, after the last byte.
    QByteArray digest();
    /// The stored origin of the file.
    FileOrigin origin() const { return FileOrigin::read(m_file.fileName()); }
    /// The number of received bytes that are not in the file.
    qint64 lostBytes() const { return m_lostBytes; }
    /// The size on the disk in bytes, also while the file is closed; 0 if there is no regular file.
    qint64 size() const;

    /// Closes the file. One that was written elsewhere is moved to its place in one step, or
    /// removed if it is not to be used; if it cannot be moved, it is lost. If bytes were lost, a
    /// dangling link, a pipe or a socket in the file's place is removed.
    void settle(bool isUsable);

private:
    bool isDeadEnd() const;

    QString m_place;
    QFile m_file;
    bool m_discards = false;
    bool m_isHashed = false;
    std::optional<Sha256> m_hash; ///< for a file that is written from its first byte on
    qint64 m_lostBytes = 0;
};

} // namespace Kavo::Managers
