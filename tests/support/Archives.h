#pragma once

#include "tests/support/Files.h"

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QVector>

namespace Kavo::Testing {

/// Creates an archive with the real 7-Zip. The suffix of the path selects the format (.7z, .zip,
/// .tar, .wim). A password encrypts the archive. Returns whether it succeeded.
bool makeArchive(const QString &path, const Files &files, const QString &password = QString());

/// The bytes of such an archive with this suffix; null if it cannot be created.
QByteArray archiveOf(const Files &files, const QString &format,
                     const QString &password = QString());

/// A zip archive of the files and of "~damaged", which comes last and cannot be unpacked. The
/// archive can still be listed. Null if it cannot be created.
QByteArray damagedArchiveOf(const Files &files);

/// A single compressed file in the format "gz", "bz2" or "xz"; null on failure.
QByteArray compressed(const QByteArray &content, const QString &format);

/// An entry of a tar archive made by tarOf(). The name is stored unchanged, even "../a" and "/a".
struct TarEntry
{
    enum Kind : char {
        FILE = '0',
        HARD_LINK = '1',
        LINK = '2',
        DEVICE = '3',
        FOLDER = '5',
        PIPE = '6',
        LONG_NAME = 'L', ///< the content is the name of the next entry, of any length
    };

    Kind kind;
    QByteArray name;
    QByteArray content; ///< the target of a link
};

/// A tar archive with exactly these entries in this order.
QByteArray tarOf(const QVector<TarEntry> &entries);

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(QVector<Kavo::Testing::TarEntry>)
