#include "packages/FolderRemoval.h"

#include <QFile>

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace Kavo {

namespace {

bool removeContents(int folder);

/// Removes an entry of an open folder. Every name is looked up in that folder alone, not along its
/// whole path, and a link that takes the place of a folder meanwhile leads nowhere.
bool removeEntry(int folder, const char *name, unsigned char type)
{
    if (type == DT_DIR || type == DT_UNKNOWN) {
        const int inner = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (inner >= 0)
            return removeContents(inner) && ::unlinkat(folder, name, AT_REMOVEDIR) == 0;
        // One that may not be read can still be removed when it is empty.
        if (::unlinkat(folder, name, AT_REMOVEDIR) == 0)
            return true;
    }
    return ::unlinkat(folder, name, 0) == 0;
}

/// Removes what an open folder holds and closes it.
bool removeContents(int folder)
{
    DIR *const entries = ::fdopendir(folder);
    if (!entries) {
        ::close(folder);
        return false;
    }
    bool removed = true;
    while (const dirent *entry = ::readdir(entries)) {
        const char *const name = entry->d_name;
        if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
            removed = removeEntry(folder, name, entry->d_type) && removed;
    }
    ::closedir(entries);
    return removed;
}

} // namespace

bool removeFolder(const QString &path)
{
    return removeEntry(AT_FDCWD, QFile::encodeName(path).constData(), DT_UNKNOWN);
}

} // namespace Kavo
