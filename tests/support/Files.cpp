#include "tests/support/Files.h"

#include "tests/support/Literals.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <unistd.h>

namespace Kavo::Testing {

namespace {

QString digest(const QByteArray &content)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
}

QString linkTarget(const QString &path)
{
    QByteArray target(4096, '\0');
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), target.data(),
                                      static_cast<std::size_t>(target.size()));
    return QFile::decodeName(target.left(static_cast<int>(std::max<ssize_t>(length, 0))));
}

} // namespace

Files filesIn(const QString &folder, const Files &files)
{
    Files moved;
    for (auto file = files.cbegin(); file != files.cend(); ++file)
        moved.insert(folder + QLatin1Char('/') + file.key(), file.value());
    return moved;
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size();
}

bool writeFiles(const QString &folder, const Files &files)
{
    bool written = QDir().mkpath(folder);
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString path = folder + QDir::separator() + file.key();
        if (file.key().endsWith(QLatin1Char('/')))
            written = QDir().mkpath(path) && written;
        else
            written = writeFile(path, file.value()) && written;
    }
    return written;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

QStringList filesUnder(const QString &folder)
{
    QStringList names;
    QDirIterator iterator(folder, QDir::Files | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext())
        names.append(QDir(folder).relativeFilePath(iterator.next()));
    return names;
}

Files readFiles(const QString &folder)
{
    Files files;
    for (const QString &name : filesUnder(folder))
        files.insert(name, readFile(QDir(folder).filePath(name)));
    return files;
}

FileTree fileTree(const QString &folder)
{
    FileTree tree;
    const QDir root(folder);
    QDirIterator iterator(folder,
                          QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        const QFileInfo info = iterator.fileInfo();
        const QString name = root.relativeFilePath(path);
        if (info.isSymLink())
            tree.insert(name, "-> "_s + linkTarget(path));
        else if (info.isDir())
            tree.insert(name + QLatin1Char('/'), QString());
        else
            tree.insert(name, digest(readFile(path)));
    }
    return tree;
}

FileTree expectedTree(const Files &files)
{
    FileTree tree;
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString &name = file.key();
        for (int slash = name.indexOf(QLatin1Char('/')); slash >= 0;
             slash = name.indexOf(QLatin1Char('/'), slash + 1))
            tree.insert(name.left(slash + 1), QString());
        if (!name.endsWith(QLatin1Char('/')))
            tree.insert(name, digest(file.value()));
    }
    return tree;
}

FileTree filesOf(FileTree tree)
{
    for (const QString &path : tree.keys()) {
        const QString name = path.section(QLatin1Char('/'), -1);
        if (name.isEmpty() || name.startsWith(".kavo-"_s))
            tree.remove(path);
    }
    return tree;
}

QStringList differences(FileTree found, const FileTree &expected)
{
    QStringList lines;
    for (auto entry = expected.cbegin(); entry != expected.cend(); ++entry) {
        if (!found.contains(entry.key()))
            lines.append(entry.key() + " is missing"_s);
        else if (found.take(entry.key()) != entry.value())
            lines.append(entry.key() + " is different"_s);
    }
    for (const QString &path : found.keys())
        lines.append(path + " is new"_s);
    return lines;
}

} // namespace Kavo::Testing
