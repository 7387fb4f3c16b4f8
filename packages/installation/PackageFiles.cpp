#include "packages/installation/PackageFiles.h"

#include "core/ContainedPath.h"
#include "core/FileCopy.h"
#include "core/FolderRemoval.h"
#include "core/Log.h"
#include "core/RegularFile.h"
#include "core/Sha256.h"
#include "packages/installation/CommonPlaces.h"
#include "packages/installation/CopyUsers.h"
#include "packages/installation/SettledCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

#include <sys/stat.h>

namespace Kavo::Models {

namespace {

void logSkipped(const QString &entry)
{
    logLine(QStringLiteral("Skipping path : ") + entry);
}

bool makeParent(const QString &path)
{
    return QDir().mkpath(QFileInfo(path).path());
}

/// Copies a file with one of the two copy functions, creates its folder and logs a failure. Returns
/// whether it succeeded.
bool copyFile(bool (*copy)(const QString &, const QString &), const QString &from,
              const QString &to)
{
    makeParent(to);
    if (copy(from, to))
        return true;
    logLine(QStringLiteral("Copy failed : %1 -> %2").arg(from, to));
    return false;
}

/// An identification that changes whenever a file is written, even with the same content. Empty if
/// there is no file.
QByteArray changeOf(const QString &path)
{
    struct stat info = {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return QByteArray();
    // Unpacking sets the modification time, but the change time cannot be set.
    const auto &changed = info.st_ctim;
    QByteArray change;
    for (const auto number : {qint64(info.st_ino), qint64(changed.tv_sec), qint64(changed.tv_nsec)})
        change += QByteArray::number(number) + ' ';
    return change;
}

} // namespace

PackageFiles::PackageFiles(const PackageFolders &folders, const PackageVersion &version,
                           int package)
    : m_folders(folders)
    , m_version(version)
    , m_package(package)
    , m_kept(CopyStore::Kind::KEPT,
             {folders.installation, folders.preserve, folders.formerPreserve})
    , m_originals(CopyStore::Kind::ORIGINAL,
                  {folders.installation, folders.backup, folders.formerBackup})
{}

QString PackageFiles::extractFolder() const
{
    const QString &extract = m_version.install->extract;
    const QString inside = containedPath(m_folders.installation, extract);
    if (!inside.isEmpty())
        return inside;
    const QString clean = QDir::cleanPath(extract);
    // Unlike an entry of a list, an empty folder is valid here: the simulator's own folder.
    const bool isOwnFolder = clean.isEmpty() || clean == QLatin1String(".");
    return isOwnFolder ? QDir::cleanPath(m_folders.installation) : QString();
}

QString PackageFiles::secure() const
{
    QStringList kept;
    QStringList backedUp;
    QString failed = park(m_version.install->preserve, m_kept, &kept);
    if (failed.isEmpty())
        failed = park(m_version.install->backup, m_originals, &backedUp);
    if (failed.isEmpty())
        failed = relyOnOriginals();
    if (failed.isEmpty()) {
        unsettleKept();
        return QString();
    }
    // A later edit of the user must not be overwritten by a copy from work that never began.
    for (const QString &entry : qAsConst(kept))
        m_kept.giveUp(entry);
    for (const QString &entry : qAsConst(backedUp))
        m_originals.giveUp(entry);
    return failed;
}

RemovalFaults PackageFiles::remove() const
{
    RemovalFaults faults;
    for (const QString &entry : m_version.uninstall->remove)
        removeEntry(entry, &faults.remaining);
    for (const QString &entry : m_version.install->backup) {
        const bool isBack = bringBack(entry, m_originals) == Return::DONE;
        const QString copy = m_originals.find(entry);
        if (!isBack && QFileInfo(copy).isFile())
            faults.notReturned.add(copy);
    }
    return faults;
}

RemovalFaults PackageFiles::uninstall(const QStringList &needed) const
{
    RemovalFaults faults;
    for (const QString &entry : m_version.uninstall->remove) {
        if (!isOneOf(needed, entry))
            removeEntry(entry, &faults.remaining);
    }
    for (const QString &entry : m_version.install->backup) {
        const Return back = bringBack(entry, m_originals);
        const QString copy = m_originals.find(entry);
        if (back == Return::DONE || isOneOf(needed, entry) || !QFileInfo(copy).isFile())
            continue;
        if (back != Return::TAKEN || !returnOriginal(entry))
            faults.notReturned.add(copy);
    }
    return faults;
}

PackageFiles::Standing PackageFiles::standing() const
{
    Standing standing;
    for (const QString &entry : m_version.install->backup) {
        const QString path = containedPath(m_folders.installation, entry);
        standing.insert(entry, {Sha256::ofFile(path), changeOf(path)});
    }
    return standing;
}

void PackageFiles::markBrought(const Standing &before) const
{
    const Standing now = standing();
    for (auto file = now.cbegin(); file != now.cend(); ++file) {
        const QString original = m_originals.find(file.key());
        // A file that unpacking has not written may be the user's.
        if (QFileInfo(original).isFile() && file->change != before.value(file.key()).change)
            settle(original, containedPath(m_folders.installation, file.key()));
    }
}

void PackageFiles::returnReplaced(const Standing &before) const
{
    for (auto file = before.cbegin(); file != before.cend(); ++file) {
        const QString path = containedPath(m_folders.installation, file.key());
        if (Sha256::ofFile(path) != file->digest && !returnOriginal(file.key()))
            bringBack(file.key(), m_originals);
    }
}

void PackageFiles::restorePreserved() const
{
    for (const QString &entry : m_version.install->preserve) {
        switch (bringBack(entry, m_kept)) {
        case Return::NONE:
            break;
        case Return::DONE:
            m_kept.giveUp(entry);
            break;
        case Return::TAKEN:
            logLine(QStringLiteral("Preserved copy stays : ") + m_kept.find(entry));
            settle(m_kept.find(entry), installed(entry));
            break;
        }
    }
}

void PackageFiles::letGo(const QStringList &needed) const
{
    for (const QString &entry : m_version.install->backup) {
        const QString original = m_originals.find(entry);
        if (!QFileInfo(original).isFile())
            continue;
        // Packages that rely on older backups without such a file are in `needed`.
        const bool isUnknown = isOneOf(needed, entry) && !usersOf(original);
        if (!isUnknown && !removeUser(original, m_package))
            logLine(QStringLiteral("Backup stays in use : ") + original);
    }
}

QHash<QString, QSet<int>> PackageFiles::others() const
{
    QHash<QString, QSet<int>> others;
    for (const QString &entry : m_version.install->backup) {
        const QString original = m_originals.find(entry);
        QSet<int> users =
            original.isEmpty() ? QSet<int>() : usersOf(original).value_or(QSet<int>());
        users.remove(m_package);
        others.insert(entry, users);
    }
    return others;
}

void PackageFiles::giveUpReturned(const QStringList &needed) const
{
    giveUpKept();
    for (const QString &entry : m_version.install->backup) {
        if (!isOneOf(needed, entry))
            giveUpReturned(entry, m_originals);
    }
}

void PackageFiles::giveUpKept() const
{
    for (const QString &entry : m_version.install->preserve)
        giveUpReturned(entry, m_kept);
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

/// Whether a rule may follow the links in a path.
bool PackageFiles::isReached(const QString &path) const
{
    const QString own = ownFolderAround(path);
    return staysWithin(path, own.isEmpty()
                                 ? QStringList{QDir::rootPath()}
                                 : QStringList{m_folders.installation, extractFolder(), own});
}

/// The outermost folder of the removal rule that contains a path, empty if there is none.
/// Everything in such a folder is removed with the package and may have come with it, including
/// links.
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

/// Whether a folder contains one of the program's working folders. Only a link can lead to a folder
/// that contains the simulator.
bool PackageFiles::isNeeded(const QString &path) const
{
    const QStringList needed{m_folders.installation, m_folders.preserve, m_folders.backup};
    return !QFileInfo(path).isSymLink() &&
           std::any_of(needed.cbegin(), needed.cend(),
                       [&path](const QString &folder) { return isInFolder(folder, path); });
}

/// Whether a path leads into one of the folders for copies, if that is in the simulator's folder.
bool PackageFiles::isAmongCopies(const QString &path) const
{
    const QStringList folders = QStringList{m_folders.preserve, m_folders.backup} +
                                m_folders.formerPreserve + m_folders.formerBackup;
    const QString parent = QFileInfo(path).path();
    return std::any_of(folders.cbegin(), folders.cend(), [this, &parent](const QString &folder) {
        return isInFolder(parent, folder) && !isInFolder(m_folders.installation, folder);
    });
}

void PackageFiles::removeEntry(const QString &entry, FailedPaths *failed) const
{
    const QString path = installed(entry);
    if (path.isEmpty())
        return;
    if (isAmongCopies(path)) {
        logSkipped(entry);
        return;
    }
    if (QFileInfo(path).isDir() && !QFileInfo(path).isSymLink())
        logLine(QStringLiteral("Removing directory : ") + path);
    if (!removeFolder(path, failed))
        logLine(QStringLiteral("Removal failed : ") + path);
}

/// Replaces the file in the place of an original by the original, if the file is the add-on's.
/// Returns whether it did.
bool PackageFiles::returnOriginal(const QString &entry) const
{
    const QString original = m_originals.find(entry);
    const QString target = installed(entry);
    return !QFileInfo(target).isSymLink() && isAsBrought(original, target) &&
           copyFile(copyOver, original, target);
}

/// Whether one of the entries names the same path.
bool PackageFiles::isOneOf(const QStringList &entries, const QString &entry) const
{
    const QString path = containedPath(m_folders.installation, entry);
    return std::any_of(entries.cbegin(), entries.cend(), [this, &path](const QString &other) {
        return containedPath(m_folders.installation, other) == path;
    });
}

/// Copies files and adds the entries that had no copy before. Returns the first file that could not
/// be copied and stops there.
QString PackageFiles::park(const QStringList &entries, const CopyStore &store,
                           QStringList *made) const
{
    for (const QString &entry : entries) {
        const QString source = installed(entry);
        if (source.isEmpty() || !QFileInfo::exists(source))
            continue;
        if (isSpecialFile(source)) {
            logSkipped(entry);
            continue;
        }
        if (QFileInfo(source).isDir()) {
            if (store.makePlace(entry).isEmpty())
                logSkipped(entry);
            continue;
        }
        if (!parkFile(entry, source, store, made)) {
            logLine(QStringLiteral("Copy failed : %1 -> %2").arg(source, store.place(entry)));
            return source;
        }
    }
    return QString();
}

/// Returns whether the copy exists now.
bool PackageFiles::parkFile(const QString &entry, const QString &source, const CopyStore &store,
                            QStringList *made) const
{
    const QString copy = store.find(entry);
    const bool isNew = copy.isEmpty() || isOver(copy, source, store);
    if (!isNew)
        return !isReplaced(copy, source, store) || copyOver(source, copy);
    if (!store.setAside(entry) || !store.add(entry, source))
        return false;
    made->append(entry);
    return true;
}

/// Whether no package relies on an original any more, and the user has put another file in its
/// place.
bool PackageFiles::isOver(const QString &copy, const QString &source, const CopyStore &store) const
{
    const auto users = usersOf(copy);
    return &store == &m_originals && QFileInfo(copy).isFile() && users && users->isEmpty() &&
           !haveEqualContent(copy, source) && !isAsBrought(copy, source);
}

/// Returns the first file for which this cannot be stored: after its replacement, its backup would
/// count as unused.
QString PackageFiles::relyOnOriginals() const
{
    for (const QString &entry : m_version.install->backup) {
        const QString original = m_originals.find(entry);
        if (!original.isEmpty() && !addUser(original, m_package)) {
            logLine(QStringLiteral("Backup is not in use : ") + original);
            return installed(entry);
        }
    }
    return QString();
}

/// Whether an existing copy has to be replaced. That of an original never has.
bool PackageFiles::isReplaced(const QString &copy, const QString &source,
                              const CopyStore &store) const
{
    return !QFileInfo(copy).isFile() || (&store == &m_kept && isOlder(copy, source));
}

/// From now on the copies are authoritative, until the installation has ended. The marks are
/// removed after all copying. Otherwise a sudden end or a failure in between would leave an older
/// copy that looks like the only one.
void PackageFiles::unsettleKept() const
{
    for (const QString &entry : m_version.install->preserve) {
        const QString kept = m_kept.find(entry);
        if (!kept.isEmpty())
            unsettle(kept);
    }
}

PackageFiles::Return PackageFiles::bringBack(const QString &entry, const CopyStore &store) const
{
    const QString copy = store.find(entry);
    const QString target = copy.isEmpty() ? QString() : installed(entry);
    if (target.isEmpty())
        return Return::NONE;
    if (QFileInfo(copy).isDir()) {
        makeParent(target);
        return Return::NONE;
    }
    if (isTaken(target))
        return haveEqualContent(copy, target) ? Return::DONE : Return::TAKEN;
    return copyFile(copyWhole, copy, target) ? Return::DONE : Return::NONE;
}

void PackageFiles::giveUpReturned(const QString &entry, const CopyStore &store) const
{
    const QString copy = store.find(entry);
    if (copy.isEmpty() || haveEqualContent(copy, installed(entry)))
        store.giveUp(entry);
}

} // namespace Kavo::Models
