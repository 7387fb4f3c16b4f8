#include "core/Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace Kavo {

namespace {

QString dataSubfolder(const QString &name)
{
    return applicationDataDirectory() + name + QDir::separator();
}

} // namespace

QString applicationDirectory()
{
    return QCoreApplication::applicationDirPath() + QDir::separator();
}

QString applicationDataDirectory()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    ensureDirectory(path, true);
    return path + QDir::separator();
}

QString cacheDirectory()
{
    return dataSubfolder(QStringLiteral("cache"));
}

QString preserveDirectory()
{
    return dataSubfolder(QStringLiteral("preserve"));
}

QString backupDirectory()
{
    return dataSubfolder(QStringLiteral("backup"));
}

bool ensureDirectory(const QString &path, bool recursive)
{
    const QDir folder(path);
    if (!folder.exists()) {
        if (recursive)
            folder.mkpath(QStringLiteral("."));
        else
            folder.mkdir(QStringLiteral("."));
    }
    return QDir(path).exists();
}

} // namespace Kavo
