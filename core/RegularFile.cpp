#include "core/RegularFile.h"

#include <sys/stat.h>

namespace Kavo {

bool isSpecialFile(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && !S_ISREG(status.st_mode) &&
           !S_ISDIR(status.st_mode);
}

bool openRegular(QFile &file, QIODevice::OpenMode mode)
{
    return !isSpecialFile(file.fileName()) && file.open(mode);
}

} // namespace Kavo
