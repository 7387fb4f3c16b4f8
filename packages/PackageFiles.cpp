#include "packages/PackageFiles.h"

#include "core/FileCopy.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "packages/CommonPlaces.h"
#include "packages/ContainedPath.h"
#include "packages/FolderRemoval.h"
#include "packages/SettledCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace Kavo::Models {

namespace {

/// How much of two files is compared at a time, in bytes.
constexpr qint64 BlockSize = 64 * 1024;

void logSkipped(const QString &entry)
{
    logLine(QStringLiteral("Skipping path : ") + entry);
}

bool makeParent(const QString &path)
{
    return QDir().mkpath(QFileInfo(path).path());
}

bool haveEqualContent(const QString &first, const QString &second)
{
    QFile a(first);
    QFile b(second);
    if (!a.open(QIODevice::ReadOnly) || !b.open(QIODevice::ReadOnly) || a.size() != b.size())
        return false;
    while (!a.atEnd()) {
        const QByteArray block = a.read(BlockSize);
        if (block.isEmpty() || block != b.read(block.size()))
            return false;
    }
    return true;
}

/// Copies a file in one of the two ways of copying, makes the folder for it and tells of a failure.
/// Returns whether it did.
bool copyFile(bool (*copy)(const QString &, const QString &), const QString &from,
              const QString &to)
{
    makeParent(to);
    if (copy(from, to))
        return true;
    logLine(QStringLiteral("Copy failed : %1 -> %2").arg(from, to));
    return false;
}

void giveUp(const QString &parked)
{
    QFile::remove(parked);
    unsettle(parked);
}

} // namespace

PackageFiles::PackageFiles(const PackageFolders &folders, const PackageVersion &version)
    : m_folders(folders)
    , m_version(version)
{}

QString PackageFiles::extractFolder() const
{
    const QString &extract = m_version.install->extract;
    const QString inside = containedPath(m_folders.installation, extract);
    if (!inside.isEmpty())
        return inside;
    const QString clean = QDir::cleanPath(extract);
    // Unlike an entry of a list, an empty folder has a meaning here: the simulator's own folder.
    const bool isOwnFolder = clean.isEmpty() || clean == QLatin1String(".");
    return isOwnFolder ? QDir::cleanPath(m_folders.installation) : QString();
}

QString PackageFiles::secure() const
{
    QStringList made;
    QString failed = park(m_version.install->preserve, m_folders.preserve, &made);
    if (failed.isEmpty())
        failed = park(m_version.install->backup, m_folders.backup, &made);
    if (failed.isEmpty()) {
        unsettleKept();
        return QString();
    }
    // A later edit of the user must not lose against a copy of work that has not begun.
    for (const QString &copy : qAsConst(made))
        QFile::remove(copy);
    return failed;
}

void PackageFiles::remove() const
{
    for (const QString &entry : m_version.uninstall->remove)
        removeEntry(entry);
    for (const QString &entry : m_version.install->backup)
        bringBack(entry, m_folders.backup);
}

void PackageFiles::restorePreserved() const
{
    for (const QString &entry : m_version.install->preserve) {
        const QString parked = containedPath(m_folders.preserve, entry);
        switch (bringBack(entry, m_folders.preserve)) {
        case Return::NONE:
            break;
        case Return::DONE:
            giveUp(parked);
            break;
        case Return::TAKEN:
            logLine(QStringLiteral("Preserved copy stays : ") + parked);
            settle(parked, installed(entry));
            break;
        }
    }
}

void PackageFiles::giveUpReturned() const
{
    for (const QString &entry : m_version.install->preserve)
        giveUpReturned(entry, m_folders.preserve);
    for (const QString &entry : m_version.install->backup)
        giveUpReturned(entry, m_folders.backup);
}

QString PackageFiles::installed(const QString &entry) const
{
    const QString path = containedPath(m_folders.installation, entry);
    if (!path.isEmpty() && isReached(path) && !isNeeded(path) &&
        !isCommonPlace(m_folders.installation, path))
        return path;
    logSkipped(entry);
    return QString();
}

/// Whether a rule may follow the links on the way to a path.
bool PackageFiles::isReached(const QString &path) const
{
    const QString own = ownFolderAround(path);
    return staysWithin(path, own.isEmpty()
                                 ? QStringList{QDir::rootPath()}
                                 : QStringList{m_folders.installation, extractFolder(), own});
}

/// The largest folder of the removal rule in which a path lies, empty when there is none.
/// Everything in such a folder goes with the package and may have come with it, links included.
QString PackageFiles::ownFolderAround(const QString &path) const
{
    QString largest;
    for (const QString &entry : m_version.uninstall->remove) {
        const QString folder = containedPath(m_folders.installation, entry);
        if (!folder.isEmpty() && path.startsWith(folder + QLatin1Char('/')) &&
            QFileInfo(folder).isDir() && (largest.isEmpty() || folder.size() < largest.size()))
            largest = folder;
    }
    return largest;
}

/// Whether a folder holds one of those that the program works with. Only a link can lead to one
/// that holds the simulator.
bool PackageFiles::isNeeded(const QString &path) const
{
    const QStringList needed{m_folders.installation, m_folders.preserve, m_folders.backup};
    return !QFileInfo(path).isSymLink() &&
           std::any_of(needed.cbegin(), needed.cend(),
                       [&path](const QString &folder) { return isInFolder(folder, path); });
}

void PackageFiles::removeEntry(const QString &entry) const
{
    const QString path = installed(entry);
    if (path.isEmpty())
        return;
    const QFileInfo info(path);
    bool removed = true;
    if (info.isSymLink() || (info.exists() && !info.isDir())) {
        removed = QFile::remove(path);
    } else if (info.isDir()) {
        removed = removeFolder(path);
        logLine(QStringLiteral("Removing directory : ") + path);
    }
    if (!removed)
        logLine(QStringLiteral("Removal failed : ") + path);
}

/// Copies files to one of the folders and adds the copies that were not there before. Returns the
/// first file that could not be copied; the rest is not tried.
QString PackageFiles::park(const QStringList &entries, const QString &folder,
                           QStringList *made) const
{
    for (const QString &entry : entries) {
        const QString source = installed(entry);
        if (source.isEmpty() || !QFileInfo::exists(source))
            continue;
        const QString target = parkedPlace(entry, folder);
        const bool isNew = !target.isEmpty() && !isTaken(target);
        if (!makeCopy(entry, source, folder))
            return source;
        if (isNew && !QFileInfo(source).isDir())
            made->append(target);
    }
    return QString();
}

/// Returns whether there is a copy now, if there has to be one.
bool PackageFiles::makeCopy(const QString &entry, const QString &source, const QString &folder)
{
    ensureDirectory(folder, true);
    const QString target = parkedPlace(entry, folder);
    const bool isFolder = QFileInfo(source).isDir();
    if (target.isEmpty()) {
        logSkipped(entry);
        return isFolder;
    }
    if (isFolder) {
        makeParent(target);
        return true;
    }
    const bool isKept = QFileInfo(target).isFile() && !isOlder(target, source);
    return isKept || copyFile(copyOver, source, target);
}

/// From here on the copies are the ones that count, until the installation has come to its end.
/// The marks go after all copying: were one to go first, a sudden end or a failure in between would
/// leave an older content as if it were the only one.
void PackageFiles::unsettleKept() const
{
    for (const QString &entry : m_version.install->preserve) {
        const QString kept = parkedPlace(entry, m_folders.preserve);
        if (!kept.isEmpty())
            unsettle(kept);
    }
}

PackageFiles::Return PackageFiles::bringBack(const QString &entry, const QString &folder) const
{
    const QString parked = parkedFile(entry, folder);
    const QString target = parked.isEmpty() ? QString() : installed(entry);
    if (target.isEmpty())
        return Return::NONE;
    if (QFileInfo(parked).isDir()) {
        makeParent(target);
        return Return::NONE;
    }
    if (isTaken(target))
        return haveEqualContent(parked, target) ? Return::DONE : Return::TAKEN;
    return copyFile(copyWhole, parked, target) ? Return::DONE : Return::NONE;
}

void PackageFiles::giveUpReturned(const QString &entry, const QString &folder) const
{
    const QString parked = parkedFile(entry, folder);
    if (!parked.isEmpty() && haveEqualContent(parked, installed(entry)))
        giveUp(parked);
}

/// Where the copy of an entry belongs, empty when that is not in the folder.
QString PackageFiles::parkedPlace(const QString &entry, const QString &folder)
{
    const QString place = containedPath(folder, entry);
    return !place.isEmpty() && staysWithin(place, {folder}) ? place : QString();
}

/// The copy of an entry, empty when there is none.
QString PackageFiles::parkedFile(const QString &entry, const QString &folder)
{
    const QString place = parkedPlace(entry, folder);
    return QFileInfo::exists(place) ? place : QString();
}

} // namespace Kavo::Models
