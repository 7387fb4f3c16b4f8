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

/// The resolved path of the nearest existing folder above a path.
QString realParent(const QString &path)
{
    QString parent = QFileInfo(path).path();
    while (!QFileInfo::exists(parent)) {
        const QString above = QFileInfo(parent).path();
        // A dangling link could lead anywhere once its target is created.
        if (above == parent || QFileInfo(parent).isSymLink())
            return QString();
        parent = above;
    }
    return QFileInfo(parent).canonicalFilePath();
}

/// The resolved path of a folder, whether it exists or not.
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
    // Qt's functions for cleaning and joining paths are not used, because they treat more than dots
    // specially: a leading colon means a resource, and a byte order mark, which may hide a leading
    // slash, is dropped.
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
