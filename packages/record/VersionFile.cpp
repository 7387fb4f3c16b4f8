#include "packages/record/VersionFile.h"

#include "core/ContainedPath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

namespace Kavo::Models {

namespace {

/// The shared library has its file deeper in the tree than all other packages.
/// Fixed, see docs/compatibility.md.
constexpr int SharedLibraryId = 1;

/// The longest line that is read, in characters; version files have shorter ones.
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
    // Reading anything but a regular file could block.
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
