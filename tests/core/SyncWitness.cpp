#include "tests/core/SyncWitness.h"

#include <cstdio>
#include <dlfcn.h>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Kavo::Testing {

namespace {

/// Identifies a file as long as it exists.
using Identity = std::pair<dev_t, ino_t>;

struct Rename
{
    Identity folder;
    bool syncedBefore = false;
    bool syncedAfter = false;
};

struct Account
{
    std::map<Identity, off_t> synced; ///< the size of each file when it was flushed
    std::vector<Rename> renames;
};

Account &account()
{
    static Account one;
    return one;
}

Identity identity(const struct stat &status)
{
    return {status.st_dev, status.st_ino};
}

void noteSync(int descriptor)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        return;
    account().synced[identity(status)] = status.st_size;
    for (Rename &rename : account().renames)
        rename.syncedAfter = rename.syncedAfter || rename.folder == identity(status);
}

void noteRename(const char *from, const char *to)
{
    const std::string target(to);
    struct stat file = {};
    struct stat folder = {};
    if (::stat(from, &file) != 0 ||
        ::stat(target.substr(0, target.find_last_of('/') + 1).c_str(), &folder) != 0)
        return;
    const auto known = account().synced.find(identity(file));
    const bool synced = known != account().synced.end() && known->second == file.st_size;
    account().renames.push_back({identity(folder), synced, false});
}

int count(bool Rename::*fact)
{
    int number = 0;
    for (const Rename &rename : account().renames)
        number += rename.*fact ? 1 : 0;
    return number;
}

} // namespace

SyncWitness::SyncWitness()
{
    account() = Account();
}

int SyncWitness::renamed() const
{
    return static_cast<int>(account().renames.size());
}

int SyncWitness::syncedBefore() const
{
    return count(&Rename::syncedBefore);
}

int SyncWitness::syncedAfter() const
{
    return count(&Rename::syncedAfter);
}

} // namespace Kavo::Testing

extern "C" {

int fsync(int descriptor)
{
    Kavo::Testing::noteSync(descriptor);
    return reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, "fsync"))(descriptor);
}

int rename(const char *from, const char *to) noexcept
{
    Kavo::Testing::noteRename(from, to);
    return reinterpret_cast<int (*)(const char *, const char *)>(::dlsym(RTLD_NEXT, "rename"))(from,
                                                                                               to);
}

} // extern "C"
