#include "core/FolderRemoval.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace Kavo {

namespace {

// What somebody else has removed is gone as well.

bool unlinkFolder(int folder, const char *name)
{
    return ::unlinkat(folder, name, AT_REMOVEDIR) == 0 || errno == ENOENT;
}

bool unlinkFile(int folder, const char *name)
{
    return ::unlinkat(folder, name, 0) == 0 || errno == ENOENT || errno == ENOTDIR;
}

/// An entry on the way from the folder that is removed. Most removals never need its path.
struct Place
{
    const Place *parent; ///< null for the first, whose name is a path
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

/// Removes an entry of an open folder. Every name is looked up in that folder alone, not along its
/// whole path, and a link that takes the place of a folder meanwhile leads nowhere.
bool removeEntry(int folder, const Place &place, unsigned char type, FailedPaths *failed)
{
    if (type == DT_DIR || type == DT_UNKNOWN) {
        const int inner =
            ::openat(folder, place.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (inner >= 0 && !removeContents(inner, place, failed))
            return false;
        // One that may not be read can still be removed when it is empty.
        if (unlinkFolder(folder, place.name))
            return true;
        if (inner >= 0)
            return isFailure(place, failed);
    }
    return unlinkFile(folder, place.name) || isFailure(place, failed);
}

/// Removes what an open folder holds and closes it.
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
