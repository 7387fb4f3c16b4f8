#include "tests/support/Archives.h"
#include "tests/support/Literals.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <unistd.h>

namespace Kavo::Testing {

namespace {

constexpr int BlockSize = 512;

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

QByteArray octal(qint64 number, int width)
{
    return QByteArray::number(number, 8).rightJustified(width - 1, '0') + '\0';
}

bool hasContent(const TarEntry &entry)
{
    return entry.kind == TarEntry::FILE || entry.kind == TarEntry::LONG_NAME;
}

QByteArray tarHeader(const TarEntry &entry)
{
    const bool isFile = hasContent(entry);
    QByteArray header;
    header += entry.name.leftJustified(100, '\0', true);
    header += octal(entry.kind == TarEntry::FOLDER ? 0755 : 0644, 8);
    header += octal(0, 8) + octal(0, 8);
    header += octal(isFile ? entry.content.size() : 0, 12);
    header += octal(1684324800, 12);
    header += QByteArray(8, ' ');
    header += static_cast<char>(entry.kind);
    header += (isFile ? QByteArray() : entry.content).leftJustified(100, '\0', true);
    header += QByteArray("ustar\0"
                         "00",
                         8);
    header = header.leftJustified(BlockSize, '\0');
    qint64 sum = 0;
    for (const char byte : qAsConst(header))
        sum += static_cast<quint8>(byte);
    return header.replace(148, 8, QByteArray::number(sum, 8).rightJustified(6, '0') + '\0' + ' ');
}

/// Has 7-Zip make an archive in a folder of files; the arguments name the archive and the files.
bool pack(const QString &folder, const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start("/usr/bin/7z"_s, QStringList{"a"_s, "-bd"_s} + arguments);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
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

bool makeArchive(const QString &path, const Files &files, const QString &password)
{
    const QTemporaryDir folder;
    QStringList arguments{QFileInfo(path).absoluteFilePath(), "."_s};
    if (!password.isEmpty())
        arguments.append("-p"_s + password);
    QFile::remove(path);
    return writeFiles(folder.path(), files) && pack(folder.path(), arguments);
}

QByteArray archiveOf(const Files &files, const QString &format, const QString &password)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("archive."_s + format);
    return makeArchive(path, files, password) ? readFile(path) : QByteArray();
}

QByteArray damagedArchiveOf(const Files &files)
{
    // The largest file, of incompressible bytes.
    QByteArray content;
    for (int number = 0; content.size() < 100000; ++number)
        content += QCryptographicHash::hash(QByteArray::number(number), QCryptographicHash::Sha256);
    Files all = files;
    all.insert("~damaged"_s, content);
    QByteArray archive = archiveOf(all, "zip"_s);
    if (!archive.isNull())
        archive[archive.size() / 2] = static_cast<char>(~archive.at(archive.size() / 2));
    return archive;
}

QByteArray compressed(const QByteArray &content, const QString &format)
{
    const QTemporaryDir folder;
    const QString name = "content"_s;
    const QString archive = folder.filePath("archive."_s + format);
    const bool packed =
        writeFile(folder.filePath(name), content) && pack(folder.path(), {archive, name});
    return packed ? readFile(archive) : QByteArray();
}

QByteArray tarOf(const QVector<TarEntry> &entries)
{
    QByteArray archive;
    for (const TarEntry &entry : entries) {
        archive += tarHeader(entry);
        if (!hasContent(entry))
            continue;
        const int blocks = (entry.content.size() + BlockSize - 1) / BlockSize;
        archive += entry.content.leftJustified(blocks * BlockSize, '\0');
    }
    return archive + QByteArray(2 * BlockSize, '\0');
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
