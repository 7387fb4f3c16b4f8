#include "downloads/PartialFile.h"

#include "core/RegularFile.h"

#include <QFileInfo>

#include <cstdio>
#include <sys/stat.h>

namespace Kavo::Managers {

PartialFile::PartialFile(const QString &place, const QString &growsAt)
    : m_place(place)
    , m_file(growsAt)
{}

PartialFile::Plan PartialFile::plan(const std::optional<qint64> &wholeSize,
                                    const FileOrigin &origin) const
{
    const QFileInfo present(m_file.fileName());
    if (!present.isFile())
        return Plan::Append;
    if (!this->origin().agreesWith(origin))
        return Plan::Restart;
    if (!wholeSize)
        return Plan::Append;
    if (present.size() == *wholeSize)
        return Plan::Finish;
    return present.size() < *wholeSize ? Plan::Resume : Plan::Restart;
}

void PartialFile::discard()
{
    m_file.close();
    m_hash.reset();
    QFile::remove(m_file.fileName());
    // Another transfer may create the file before this one opens it.
    m_discards = true;
}

void PartialFile::open(const FileOrigin &origin)
{
    if (m_file.isOpen() || m_lostBytes > 0)
        return;
    QIODevice::OpenMode mode = QIODevice::Append | QIODevice::Unbuffered;
    if (m_discards)
        mode |= QIODevice::Truncate;
    if (!openRegular(m_file, mode))
        return;
    FileOrigin told = m_file.size() > 0 ? this->origin() : origin;
    if (told.address.isEmpty())
        told.address = origin.address;
    if (told.lastModified.isEmpty())
        told.lastModified = origin.lastModified;
    if (told.entityTag.isEmpty())
        told.entityTag = origin.entityTag;
    told.write(m_file.handle());
    if (m_isHashed && m_file.size() == 0)
        m_hash.emplace();
}

void PartialFile::append(const char *bytes, qint64 count)
{
    const bool takesBytes = m_file.isOpen() && m_lostBytes == 0;
    // A full disk shows only in the number of written bytes.
    const qint64 written = takesBytes ? qMax<qint64>(m_file.write(bytes, count), 0) : 0;
    m_lostBytes += count - written;
    if (m_hash)
        m_hash->add(bytes, written);
}

QByteArray PartialFile::digest()
{
    return m_hash && m_lostBytes == 0 ? m_hash->result() : QByteArray();
}

qint64 PartialFile::size() const
{
    const QFileInfo present(m_file.fileName());
    return present.isFile() ? present.size() : 0;
}

void PartialFile::settle(bool isUsable)
{
    m_file.close();
    if (m_file.fileName() == m_place) {
        // It would break the next attempt as well, and a pipe must never be unpacked.
        if ((m_lostBytes > 0 || isSpecialFile(m_place)) && isDeadEnd())
            QFile::remove(m_place);
        return;
    }
    const QByteArray from = QFile::encodeName(m_file.fileName());
    if (isUsable && std::rename(from.constData(), QFile::encodeName(m_place).constData()) == 0)
        return;
    if (isUsable)
        m_lostBytes += size();
    QFile::remove(m_file.fileName());
}

/// Whether the path holds something that is not a file and can be removed without loss: a dangling
/// link, a pipe or a socket.
bool PartialFile::isDeadEnd() const
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(m_place).constData(), &status) != 0)
        return false;
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ||
           (S_ISLNK(status.st_mode) && !QFileInfo(m_place).isFile());
}

} // namespace Kavo::Managers
