#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

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
