#include "tests/downloads/FileMarks.h"

#include <QFile>

#include <cerrno>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace Kavo::Testing {

namespace {

bool refusesMarks = false;

constexpr int LongestMark = 4096;

/// Makes the system call, or fails as on a file system without extended attributes.
template<typename... Arguments>
long call(long number, Arguments... arguments)
{
    if (!refusesMarks)
        return ::syscall(number, arguments...);
    errno = ENOTSUP;
    return -1;
}

} // namespace

QByteArray markOf(const QString &path, const QByteArray &name)
{
    QByteArray value(LongestMark, '\0');
    const long length = ::syscall(SYS_getxattr, QFile::encodeName(path).constData(),
                                  name.constData(), value.data(), value.size());
    return length < 0 ? QByteArray() : value.left(static_cast<int>(length));
}

bool setMark(const QString &path, const QByteArray &name, const QByteArray &value)
{
    return ::syscall(SYS_setxattr, QFile::encodeName(path).constData(), name.constData(),
                     value.constData(), value.size(), 0) == 0;
}

bool removeMark(const QString &path, const QByteArray &name)
{
    return ::syscall(SYS_removexattr, QFile::encodeName(path).constData(), name.constData()) == 0;
}

void refuseMarks(bool refused)
{
    refusesMarks = refused;
}

} // namespace Kavo::Testing

extern "C" {

ssize_t getxattr(const char *path, const char *name, void *value, size_t size) noexcept
{
    return Kavo::Testing::call(SYS_getxattr, path, name, value, size);
}

int fsetxattr(int file, const char *name, const void *value, size_t size, int flags) noexcept
{
    return static_cast<int>(Kavo::Testing::call(SYS_fsetxattr, file, name, value, size, flags));
}

int fremovexattr(int file, const char *name) noexcept
{
    return static_cast<int>(Kavo::Testing::call(SYS_fremovexattr, file, name));
}

} // extern "C"
