#include "tools/check/ArchiveFolder.h"

#include "core/ContainedPath.h"
#include "downloads/Download.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace Kavo::Tools {

namespace {

/// The path of a file in a folder, empty if it does not exist.
QString fileIn(const QString &folder, QString path)
{
    while (path.startsWith(QLatin1Char('/')))
        path.remove(0, 1);
    const QString file = containedPath(folder, path);
    return !file.isEmpty() && QFileInfo(file).isFile() ? file : QString();
}

} // namespace

ArchiveFolder::ArchiveFolder(const QString &folder)
    : m_folder(folder.isEmpty() ? QString() : QDir(folder).absolutePath())
{}

bool ArchiveFolder::isReadable() const
{
    const QFileInfo info(m_folder);
    return !m_folder.isEmpty() && info.isDir() && info.isReadable() && info.isExecutable();
}

ArchiveFolder::Place ArchiveFolder::find(const QString &link) const
{
    const QString name = fileNameOf(link);
    if (name.isEmpty())
        return {};
    const QString path = QUrl(link).path(QUrl::FullyDecoded);
    const QString there = fileIn(m_folder, path);
    if (!there.isEmpty())
        return {there, false};
    return {fileIn(m_folder, name), true};
}

QString ArchiveFolder::fileNameOf(const QString &link)
{
    return Models::Download::fileNameIn(QUrl(link));
}

} // namespace Kavo::Tools
