#include "packages/record/VersionFile.h"

#include "core/ContainedPath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace Kavo::Models {

namespace {

/// The shared library keeps its file deeper than all other packages.
/// Fixed, see docs/compatibility.md.
constexpr int SharedLibraryId = 1;

/// Longest line that is read, in characters; what is longer is no version file of ours.
constexpr qint64 LongestLine = 4096;

QString versionFilePath(const Package &package)
{
    QStringList parts{package.versions().first()->install->extract};
    if (package.id() == SharedLibraryId)
        parts << QStringLiteral("lib") << QStringLiteral("Kavo_Library");
    parts << QStringLiteral("Kavo_version.txt");
    parts.removeAll(QString());
    return parts.join(QDir::separator());
}

} // namespace

QString readVersionFile(const Package &package, const QString &installationFolder)
{
    if (package.versions().isEmpty())
        return QString();
    const QString path = containedPath(installationFolder, versionFilePath(package));
    // Anything but a regular file could block the reader.
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return QString();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    stream.readLine(LongestLine);
    stream.readLine(LongestLine);
    return stream.readLine(LongestLine);
}

} // namespace Kavo::Models
