// A library for LD_PRELOAD. It counts the calls with which a program changes files, and kills the
// process before one of them. Environment variables control it:
//
//     KAVO_DEATH_PROGRAM  name of the program; other programs run normally
//     KAVO_DEATH_FOLDER   only changes in this folder count
//     KAVO_DEATH_CALL     number of the call, from 1
//     KAVO_DEATH_AT_FORK  if set, the process is killed right after it has forked
//
// Before a call it prints the line "died before CALL PATH" on standard output.

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

/// The original function, which the one of this name in this file replaces.
template<typename Function>
Function *next(Function * /*sameType*/, const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

const char *variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

bool isMeant()
{
    static const bool meant =
        std::strcmp(program_invocation_short_name, variable("KAVO_DEATH_PROGRAM")) == 0;
    return meant;
}

/// Whether a change of this path counts. Changes of the log and the settings do not.
bool counts(const std::string &path)
{
    // No static objects with destructors, because calls occur until the very end of the process.
    static const char *const folder = variable("KAVO_DEATH_FOLDER");
    static const std::size_t length = std::strlen(folder);
    const auto endsWith = [&path](const std::string &end) {
        return path.size() >= end.size() &&
               path.compare(path.size() - end.size(), end.size(), end) == 0;
    };
    return length > 0 && path.compare(0, length, folder) == 0 && !endsWith("log.txt") &&
           path.find("/.config/") == std::string::npos;
}

void count(const char *call, const std::string &path)
{
    static std::atomic<long> calls{0};
    static const long last = std::atol(variable("KAVO_DEATH_CALL"));
    if (!isMeant() || !counts(path) || ++calls != last)
        return;
    const std::string line = std::string("died before ") + call + ' ' + path + '\n';
    ::syscall(SYS_write, STDOUT_FILENO, line.data(), line.size());
    ::kill(::getpid(), SIGKILL);
    ::pause();
}

/// The path of an open file; empty for other descriptors. Allocates no memory for a pipe, because a
/// signal handler of Qt writes to one and may have interrupted an allocation.
std::string pathOf(int descriptor)
{
    char link[32];
    char path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = ::readlink(link, path, sizeof path);
    return length > 0 && *path == '/' ? std::string(path, static_cast<std::size_t>(length))
                                      : std::string();
}

void count(const char *call, int descriptor)
{
    if (isMeant())
        count(call, pathOf(descriptor));
}

} // namespace

extern "C" {

int open64(const char *path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    if ((flags & (O_CREAT | O_TRUNC)) != 0)
        count("open", std::string(path));
    return next(&open64, "open64")(path, flags, mode);
}

pid_t fork() noexcept
{
    const pid_t child = next(&fork, "fork")();
    if (child > 0 && isMeant() && *variable("KAVO_DEATH_AT_FORK") != '\0')
        ::kill(::getpid(), SIGKILL);
    return child;
}

int unlink(const char *path) noexcept
{
    count("unlink", std::string(path));
    return next(&unlink, "unlink")(path);
}

int unlinkat(int folder, const char *path, int flags) noexcept
{
    if (isMeant())
        count("unlinkat", folder == AT_FDCWD ? std::string(path) : pathOf(folder) + '/' + path);
    return next(&unlinkat, "unlinkat")(folder, path, flags);
}

int rmdir(const char *path) noexcept
{
    count("rmdir", std::string(path));
    return next(&rmdir, "rmdir")(path);
}

int mkdir(const char *path, mode_t mode) noexcept
{
    count("mkdir", std::string(path));
    return next(&mkdir, "mkdir")(path, mode);
}

int chmod(const char *path, mode_t mode) noexcept
{
    count("chmod", std::string(path));
    return next(&chmod, "chmod")(path, mode);
}

int fchmod(int file, mode_t mode) noexcept
{
    count("fchmod", file);
    return next(&fchmod, "fchmod")(file, mode);
}

int fsetxattr(int file, const char *name, const void *value, std::size_t size, int flags) noexcept
{
    count("fsetxattr", file);
    return next(&fsetxattr, "fsetxattr")(file, name, value, size, flags);
}

int rename(const char *from, const char *to) noexcept
{
    count("rename", std::string(to));
    return next(&rename, "rename")(from, to);
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
              unsigned flags) noexcept
{
    count("renameat2", std::string(to));
    return next(&renameat2, "renameat2")(fromFolder, from, toFolder, to, flags);
}

int link(const char *from, const char *to) noexcept
{
    count("link", std::string(to));
    return next(&link, "link")(from, to);
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags) noexcept
{
    count("linkat", std::string(to));
    return next(&linkat, "linkat")(fromFolder, from, toFolder, to, flags);
}

ssize_t write(int file, const void *bytes, std::size_t size)
{
    count("write", file);
    return next(&write, "write")(file, bytes, size);
}

ssize_t pwrite64(int file, const void *bytes, std::size_t size, off64_t offset)
{
    count("pwrite", file);
    return next(&pwrite64, "pwrite64")(file, bytes, size, offset);
}

ssize_t sendfile(int to, int from, off_t *offset, std::size_t size) noexcept
{
    count("sendfile", to);
    return next(&sendfile, "sendfile")(to, from, offset, size);
}

int ftruncate64(int file, off64_t size) noexcept
{
    count("ftruncate", file);
    return next(&ftruncate64, "ftruncate64")(file, size);
}

} // extern "C"
