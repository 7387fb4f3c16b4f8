#include "core/ContainedPath.h"

#include "core/FileCopy.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace Kavo {

namespace {

bool liesIn(const QString &path, const QString &root)
{
    if (root.isEmpty())
        return false;
    return path == root ||
           path.startsWith(root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/'));
}

/// The real place of the nearest folder above a path that exists.
QString realParent(const QString &path)
{
    QString parent = QFileInfo(path).path();
    while (!QFileInfo::exists(parent)) {
        const QString above = QFileInfo(parent).path();
        // A link to nowhere stands for a folder that could be made anywhere.
        if (above == parent || QFileInfo(parent).isSymLink())
            return QString();
        parent = above;
    }
    return QFileInfo(parent).canonicalFilePath();
}

/// Where a folder really is, or would be.
QString realPlace(const QString &folder)
{
    const QFileInfo info(QDir::cleanPath(QFileInfo(folder).absoluteFilePath()));
    if (info.exists())
        return info.canonicalFilePath();
    return QDir(realPlace(info.path())).filePath(info.fileName());
}

} // namespace

QString containedPath(const QString &folder, const QString &entry)
{
    if (folder.isEmpty() || entry.startsWith(QLatin1Char('/')) || entry.contains(QChar::Null))
        return QString();
    // By hand, because Qt's cleaning and joining know more than two dots: they take a leading colon
    // for a file inside the program, and drop a byte order mark that may hide a leading slash.
    QStringList parts;
    for (const QString &part : entry.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (part == QLatin1String("."))
            continue;
        if (part != QLatin1String("..")) {
            parts.append(part);
            continue;
        }
        if (parts.isEmpty())
            return QString();
        parts.removeLast();
    }
    if (parts.isEmpty())
        return QString();
    return QDir::cleanPath(QDir(folder).absolutePath() + QLatin1Char('/') +
                           parts.join(QLatin1Char('/')));
}

bool staysWithin(const QString &path, const QStringList &roots)
{
    const QString parent = realParent(path);
    if (parent.isEmpty())
        return false;
    return std::any_of(roots.cbegin(), roots.cend(), [&parent](const QString &root) {
        return liesIn(parent, QFileInfo(root).canonicalFilePath());
    });
}

bool isInFolder(const QString &inner, const QString &outer)
{
    return liesIn(QFileInfo(inner).canonicalFilePath(), QFileInfo(outer).canonicalFilePath());
}

bool overlap(const QString &first, const QString &second)
{
    const QString a = realPlace(first);
    const QString b = realPlace(second);
    return liesIn(a, b) || liesIn(b, a) || isSameFile(a, b);
}

} // namespace Kavo
