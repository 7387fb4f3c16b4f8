#include "core/FileCopy.h"

#include "core/RegularFile.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kavo {

namespace {

/// The size of the buffer for copying and comparing, in bytes.
constexpr int BlockSize = 256 * 1024;

/// QFile::permissions() adds what the current user may do, which is not part of the file's mode:
/// for root these bits are always set.
constexpr QFile::Permissions OwnRights = QFile::ReadUser | QFile::WriteUser | QFile::ExeUser;

bool writeContent(QFile &from, QFile &to)
{
    QByteArray block(BlockSize, '\0');
    qint64 length = 0;
    while ((length = from.read(block.data(), block.size())) > 0) {
        if (to.write(block.constData(), length) != length)
            return false;
    }
    // The original may be deleted as soon as the copy has its final name. So the content must reach
    // the disk before the name. Some file systems do not support this call.
    return length == 0 && (::fsync(to.handle()) == 0 || errno == EINVAL);
}

/// Flushes the entries of a folder to the disk. The original may be on another disk, whose changes
/// are written independently.
void syncFolder(const QString &folder)
{
    const int descriptor =
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

bool writePart(QFile &from, const QString &part)
{
    QFile to(part);
    if (!to.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    // Permissions come first, so that nobody who cannot read the original can read the copy. Some
    // file systems have no permissions; only the content is required.
    to.setPermissions(from.permissions() & ~OwnRights);
    return writeContent(from, to);
}

/// The path of the unfinished copy. It is the same for every attempt to write one file.
QString partOf(const QString &place)
{
    return hiddenBeside(place, QStringLiteral("copy"));
}

} // namespace

bool copyWhole(const QString &from, const QString &to)
{
    if (!isTaken(to))
        return copyOver(from, to);
    QFile::remove(partOf(to));
    return false;
}

bool copyOver(const QString &from, const QString &to)
{
    const QString part = partOf(to);
    QFile::remove(part);
    QFile source(from);
    if (!openRegular(source, QIODevice::ReadOnly))
        return false;
    if (writePart(source, part) &&
        std::rename(QFile::encodeName(part).constData(), QFile::encodeName(to).constData()) == 0) {
        syncFolder(QFileInfo(to).path());
        return true;
    }
    QFile::remove(part);
    return false;
}

bool moveWhole(const QString &from, const QString &to)
{
    if (isTaken(to))
        return false;
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    if (errno != EXDEV || !copyWhole(from, to))
        return false;
    if (QFile::remove(from))
        return true;
    QFile::remove(to);
    return false;
}

bool isSameFile(const QString &first, const QString &second)
{
    struct stat a = {};
    struct stat b = {};
    return ::stat(QFile::encodeName(first).constData(), &a) == 0 &&
           ::stat(QFile::encodeName(second).constData(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

bool haveEqualContent(const QString &first, const QString &second)
{
    QFile a(first);
    QFile b(second);
    if (!openRegular(a, QIODevice::ReadOnly) || !openRegular(b, QIODevice::ReadOnly) ||
        a.size() != b.size())
        return false;
    while (!a.atEnd()) {
        const QByteArray block = a.read(qint64(BlockSize));
        if (block.isEmpty() || block != b.read(block.size()))
            return false;
    }
    return true;
}

bool isTaken(const QString &place)
{
    const QFileInfo info(place);
    return info.exists() || info.isSymLink();
}

QString hiddenBeside(const QString &place, const QString &purpose)
{
    const QFileInfo info(place);
    const QByteArray mark =
        QCryptographicHash::hash(info.fileName().toUtf8(), QCryptographicHash::Sha1).toHex();
    return info.path() + QStringLiteral("/.kavo-%1-").arg(purpose) +
           QString::fromLatin1(mark.left(8));
}

} // namespace Kavo
