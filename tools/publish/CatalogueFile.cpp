#include "tools/publish/CatalogueFile.h"

#include "core/RegularFile.h"

#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kavo::Tools {

namespace {

int lockedFolder(const QString &path)
{
    const int folder =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return folder;
    while (::flock(folder, LOCK_EX) != 0 && errno == EINTR) {
    }
    return folder;
}

/// Keeps the owner and the permissions: several people may edit a catalogue, and its server must be
/// able to read it. If the owner cannot be kept, the present user becomes the owner.
void keepOwner(int descriptor, const QString &path)
{
    struct stat before = {};
    if (::stat(QFile::encodeName(path).constData(), &before) != 0)
        return;
    if (::fchown(descriptor, before.st_uid, before.st_gid) != 0 &&
        ::fchown(descriptor, static_cast<uid_t>(-1), before.st_gid) != 0)
        return;
    // A change of the owner clears some permissions.
    ::fchmod(descriptor, before.st_mode & 07777U);
}

/// Qt reports success for a partly written file and does not check whether the data is on the disk.
/// Some file systems do not support this call.
bool writeWhole(QFileDevice &file, const QByteArray &content)
{
    return file.write(content) == content.size() && file.flush() &&
           (::fsync(file.handle()) == 0 || errno == EINVAL);
}

QString cannotBeWritten(const QString &reason)
{
    return QStringLiteral("It cannot be written: %1.").arg(reason);
}

} // namespace

CatalogueFile::CatalogueFile(const QString &path)
{
    const QFileInfo info(path);
    m_path = info.canonicalFilePath();
    if (m_path.isEmpty() || !info.isFile())
        return;
    m_folder = lockedFolder(QFileInfo(m_path).path());
    QFile file(m_path);
    m_isRead = openRegular(file, QIODevice::ReadOnly);
    if (!m_isRead)
        return;
    m_bytes = file.readAll();
    m_isRead = file.error() == QFile::NoError;
}

CatalogueFile::~CatalogueFile()
{
    if (m_folder >= 0)
        ::close(m_folder);
}

QString CatalogueFile::replace(const QByteArray &content)
{
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return cannotBeWritten(file.errorString());
    keepOwner(file.handle(), m_path);
    if (!writeWhole(file, content)) {
        file.cancelWriting();
        return cannotBeWritten(QStringLiteral("the disk does not take it"));
    }
    // An editor may have saved the file since; the lock does not prevent that.
    QFile present(m_path);
    if (!openRegular(present, QIODevice::ReadOnly) || present.readAll() != m_bytes) {
        file.cancelWriting();
        return QStringLiteral("Another program has changed it meanwhile.");
    }
    if (!file.commit())
        return cannotBeWritten(file.errorString());
    m_bytes = content;
    return QString();
}

QString CatalogueFile::make(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return QFileInfo::exists(path) || QFileInfo(path).isSymLink()
                   ? QStringLiteral("There is something under this name already.")
                   : cannotBeWritten(file.errorString());
    if (writeWhole(file, content))
        return QString();
    file.close();
    QFile::remove(path);
    return cannotBeWritten(QStringLiteral("the disk does not take it"));
}

} // namespace Kavo::Tools
