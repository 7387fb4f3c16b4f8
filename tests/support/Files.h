#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// File contents by relative path. A path that ends with a slash denotes an empty folder.
using Files = QMap<QString, QByteArray>;

/// Returns the files with `folder` prepended to their paths.
Files filesIn(const QString &folder, const Files &files);

/// Writes the files to a folder, which is created if missing. Returns whether it succeeded.
bool writeFiles(const QString &folder, const Files &files);
bool writeFile(const QString &path, const QByteArray &content);
/// The relative paths of the files in a folder and its subfolders. Links to folders are not
/// followed.
QStringList filesUnder(const QString &folder);
Files readFiles(const QString &folder);
/// The content of a file; null if it cannot be read.
QByteArray readFile(const QString &path);

/// The entries of a folder by relative path. The value is the SHA-256 of a file's content in
/// hexadecimal, "-> " and the target of a link, or empty for a folder, whose path ends with a
/// slash.
using FileTree = QMap<QString, QString>;

/// The entries of a folder and its subfolders. Links are not followed.
FileTree fileTree(const QString &folder);
/// What fileTree() returns after these files have been written.
FileTree expectedTree(const Files &files);
/// The tree without folders and without the program's own files, whose names begin with ".kavo-".
FileTree filesOf(FileTree tree);
/// One line for each entry that is missing, different or new.
QStringList differences(FileTree found, const FileTree &expected);

} // namespace Kavo::Testing
