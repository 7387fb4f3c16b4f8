#pragma once

#include <QByteArray>
#include <QString>

class QUrl;

namespace Kavo::Managers {

/// Where the bytes of a file come from. It is kept with the file, as extended attributes: the
/// address as other programs of the desktop do it ("user.xdg.origin.url"), the rest as ours.
/// Some file systems have no attributes, and a copy often loses them, so that a file without them
/// is nothing unusual.
struct FileOrigin
{
    QByteArray address;      ///< encoded and without credentials; empty when not known
    QByteArray lastModified; ///< letter for letter as the server wrote it; empty when not known
    QByteArray entityTag;    ///< with its quotes, and a strong one; empty when there is none

    static FileOrigin of(const QUrl &url, const QByteArray &lastModified,
                         const QByteArray &entityTag);

    /// What the file tells of its origin; nothing when there is no file.
    static FileOrigin read(const QString &path);
    /// Replaces what an open file tells of its origin. Fails silently.
    void write(int file) const;

    /// Whether both may speak of the same file: nothing that both of them know is different.
    bool agreesWith(const FileOrigin &other) const;

    /// What tells the server which state of the file these bytes are of: the tag, or else the date;
    /// empty when neither is known.
    QByteArray validator() const { return entityTag.isEmpty() ? lastModified : entityTag; }
};

} // namespace Kavo::Managers
