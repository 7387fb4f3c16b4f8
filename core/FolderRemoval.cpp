#include "core/FolderRemoval.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace Kavo {

namespace {

// An entry that another process has removed counts as deleted.

bool unlinkFolder(int folder, const char *name)
{
    return ::unlinkat(folder, name, AT_REMOVEDIR) == 0 || errno == ENOENT;
}

bool unlinkFile(int folder, const char *name)
{
    return ::unlinkat(folder, name, 0) == 0 || errno == ENOENT || errno == ENOTDIR;
}

/// One level of the walk. The path is only put together for a failure.
struct Place
{
    const Place *parent; ///< null for the first level, whose name is a path
    const char *name;

    QByteArray path() const
    {
        return parent ? parent->path() + '/' + QByteArray(name) : QByteArray(name);
    }
};

bool removeContents(int folder, const Place &place, FailedPaths *failed);

bool isFailure(const Place &place, FailedPaths *failed)
{
    if (failed)
        failed->add(QFile::decodeName(place.path()));
    return false;
}

/// Removes an entry of an open folder. Each name is resolved relative to that folder and not by its
/// whole path, so a folder that is replaced by a link meanwhile leads nowhere.
bool removeEntry(int folder, const Place &place, unsigned char type, FailedPaths *failed)
{
    if (type == DT_DIR || type == DT_UNKNOWN) {
        const int inner =
            ::openat(folder, place.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (inner >= 0 && !removeContents(inner, place, failed))
            return false;
        // A folder without read permission can still be removed if it is empty.
        if (unlinkFolder(folder, place.name))
            return true;
        if (inner >= 0)
            return isFailure(place, failed);
    }
    return unlinkFile(folder, place.name) || isFailure(place, failed);
}

/// Removes the content of an open folder and closes it.
bool removeContents(int folder, const Place &place, FailedPaths *failed)
{
    DIR *const entries = ::fdopendir(folder);
    if (!entries) {
        ::close(folder);
        return isFailure(place, failed);
    }
    bool removed = true;
    while (const dirent *entry = ::readdir(entries)) {
        const char *const name = entry->d_name;
        if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
            removed = removeEntry(folder, {&place, name}, entry->d_type, failed) && removed;
    }
    ::closedir(entries);
    return removed;
}

} // namespace

bool removeFolder(const QString &path, FailedPaths *failed)
{
    const QByteArray name = QFile::encodeName(path);
    return removeEntry(AT_FDCWD, {nullptr, name.constData()}, DT_UNKNOWN, failed);
}

} // namespace Kavo
