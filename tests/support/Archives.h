#pragma once

#include "tests/support/Files.h"

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QVector>

namespace Kavo::Testing {

/// Makes an archive with the real 7-Zip; the format follows the name (.7z, .zip, .tar, .wim).
/// Encrypted when a password is given. Returns success.
bool makeArchive(const QString &path, const Files &files, const QString &password = QString());

/// The bytes of such an archive in a format of that name; null when it cannot be made.
QByteArray archiveOf(const Files &files, const QString &format,
                     const QString &password = QString());

/// A zip archive of the files and one more, "~damaged", which is unpacked last and cannot be: the
/// archive can be listed all the same. Null when it cannot be made.
QByteArray damagedArchiveOf(const Files &files);

/// A file compressed on its own, in the format "gz", "bz2" or "xz"; null when that fails.
QByteArray compressed(const QByteArray &content, const QString &format);

/// One entry of a hand-made tar archive, with names as they stand: "../a" and "/a" included.
struct TarEntry
{
    enum Kind : char {
        FILE = '0',
        HARD_LINK = '1',
        LINK = '2',
        DEVICE = '3',
        FOLDER = '5',
        PIPE = '6',
        LONG_NAME = 'L', ///< the content is the name of the next entry, however long
    };

    Kind kind;
    QByteArray name;
    QByteArray content; ///< of links the target
};

/// A tar archive with exactly these entries in this order.
QByteArray tarOf(const QVector<TarEntry> &entries);

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(QVector<Kavo::Testing::TarEntry>)
