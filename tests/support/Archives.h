#pragma once

#include <QByteArray>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// Contents by relative path. A path that ends in a slash is an empty folder.
using Files = QMap<QString, QByteArray>;

/// The same files in a folder.
Files filesIn(const QString &folder, const Files &files);

/// Writes the files under a folder, which is made when missing. Returns success.
bool writeFiles(const QString &folder, const Files &files);
bool writeFile(const QString &path, const QByteArray &content);
/// The files under a folder, by relative path. Links are not followed.
QStringList filesUnder(const QString &folder);
Files readFiles(const QString &folder);
/// The whole of a file, null when it cannot be read.
QByteArray readFile(const QString &path);

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

/// The entries of a folder by relative path: for a file the SHA-256 of its content in hexadecimal,
/// for a link "-> " and its target, for a folder, whose path ends in a slash, an empty text.
using FileTree = QMap<QString, QString>;

/// What is in a folder. Links are not followed.
FileTree fileTree(const QString &folder);
/// What fileTree() returns after these files have been written.
FileTree expectedTree(const Files &files);
/// The tree without folders and without the hidden marks that the program puts beside its copies.
FileTree filesOf(FileTree tree);
/// One text for each entry that is missing, different or new.
QStringList differences(FileTree found, const FileTree &expected);

} // namespace Kavo::Testing

Q_DECLARE_METATYPE(QVector<Kavo::Testing::TarEntry>)
