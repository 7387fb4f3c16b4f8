#pragma once

#include <QByteArray>
#include <QString>

class QUrl;

namespace Kavo::Managers {

/// The origin of a file's content. It is stored with the file in extended attributes: the address
/// in the one that the desktop defines ("user.xdg.origin.url"), the rest in attributes of this
/// program. Some file systems have no attributes, and copies often lose them, so a file without
/// them is normal.
struct FileOrigin
{
    QByteArray address;      ///< encoded, without credentials; empty if unknown
    QByteArray lastModified; ///< exactly as the server sent it; empty if unknown
    QByteArray entityTag;    ///< a strong entity tag with its quotes; empty if there is none

    static FileOrigin of(const QUrl &url, const QByteArray &lastModified,
                         const QByteArray &entityTag);

    /// Reads the origin stored with a file; nothing if there is no file.
    static FileOrigin read(const QString &path);
    /// Stores the origin with an open file. Fails silently.
    void write(int file) const;

    /// Whether both may be the origin of the same content: no attribute that both have differs.
    bool agreesWith(const FileOrigin &other) const;

    /// The validator for If-Range: the entity tag, or else the date; empty if neither is known.
    QByteArray validator() const { return entityTag.isEmpty() ? lastModified : entityTag; }
};

} // namespace Kavo::Managers
