#include "core/FolderSize.h"

#include <QDir>
#include <QStringList>

namespace Kavo {

qint64 folderSize(const QString &path)
{
    qint64 size = 0;
    QStringList folders;
    // An empty path would mean the working folder.
    if (!path.isEmpty())
        folders.append(path);
    while (!folders.isEmpty()) {
        const QString folder = folders.takeLast();
        const QFileInfoList entries = QDir(folder).entryInfoList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
        for (const QFileInfo &entry : entries) {
            if (!entry.isDir())
                size += entry.size();
            else if (!entry.isSymLink())
                folders.append(folder + QDir::separator() + entry.fileName());
        }
    }
    return size;
}

} // namespace Kavo
