#include "tests/support/Archives.h"

#include "tests/support/Literals.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QTemporaryDir>

namespace Kavo::Testing {

namespace {

constexpr int BlockSize = 512;

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

/// Runs 7-Zip in a folder of files to create an archive. The arguments are the archive and the
/// files.
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
    // Cached, because most test functions need the same few archives and 7-Zip starts slowly.
    static QHash<QByteArray, QByteArray> made;
    QByteArray key;
    QDataStream stream(&key, QIODevice::WriteOnly);
    stream << files << format << password;
    QByteArray &archive = made[key];
    if (archive.isNull()) {
        const QTemporaryDir folder;
        const QString path = folder.filePath("archive."_s + format);
        if (makeArchive(path, files, password))
            archive = readFile(path);
    }
    return archive;
}

QByteArray damagedArchiveOf(const Files &files)
{
    // Incompressible bytes make this the largest file, so that it contains the middle of the
    // archive.
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

} // namespace Kavo::Testing
