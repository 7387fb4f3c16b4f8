#pragma once

#include "packages/installation/CopyStore.h"
#include "packages/model/PackageVersion.h"
#include "packages/model/RemovalFaults.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Kavo::Models {

/// The folders of package files; every path ends in a separator.
struct PackageFolders
{
    QString installation; ///< the simulator's folder
    QString preserve;     ///< files kept during a re-installation
    QString backup;       ///< originals that packages replaced
    /// Former values of these two, latest first, because copies may still be there.
    QStringList formerPreserve = {};
    QStringList formerBackup = {};
};

/// Applies the rules of one version to the disk.
///
/// Only single files are copied: for a folder in a preserve or backup list just the parent folder
/// of the copy is created. A copy never overwrites a file, and a partial copy never has the final
/// name. Failed copies and removals are logged, and the rest continues, except in secure(). A
/// preserved copy is deleted only when its content is in its place again.
///
/// Rules are not trusted. An entry is skipped with a log line if it is empty, absolute, leaves its
/// folder by "..", or names a folder that contains the simulator or one of the two folders for
/// copies. Links in the path of an entry are the user's and are followed wherever they lead, since
/// unpacking follows them too. But a link below an entry of the removal rule may have come with the
/// package, and an entry that leaves the simulator through it is skipped. Removing a link removes
/// only the link. May be used on any thread.
/// Fixed, see docs/compatibility.md.
class PackageFiles final
{
public:
    /// `package` is the id of the version's package.
    PackageFiles(const PackageFolders &folders, const PackageVersion &version, int package = 0);

    /// The folder to unpack into, without a trailing separator; empty if the rule leaves the
    /// simulator's folder.
    QString extractFolder() const;

    /// Copies the files to preserve to the preserve folder and originals to the backup folder. To
    /// be called before anything is removed.
    ///
    /// An existing backup is kept. The exception: if no package relies on it any more and a file of
    /// the user is in its place, the backup is moved aside for a new one. From now on this package
    /// relies on its backups. An existing copy of a file to preserve is kept too, since it may be
    /// the only one. The exception: if an earlier installation ended without using it and the user
    /// has edited the file since, the copy is older and is replaced.
    ///
    /// Returns the path of the first file that could not be copied, empty if all files are safe.
    /// After a failure nothing may be replaced or removed, and the new copies are deleted again.
    QString secure() const;
    /// Deletes the entries of the removal rule, then restores the backed up originals whose places
    /// are free. Returns what failed. The backups are kept, so that an interrupted removal can be
    /// repeated: the second one deletes the originals that the first one restored.
    RemovalFaults remove() const;
    /// Removes the package for good. The original also replaces a file of the add-on that no rule
    /// removes, that is one that an archive has brought and nobody has edited since. A file of the
    /// user is kept, and so is its backup. `needed` are the backups of other installed packages:
    /// the files in their places are kept, unless they are in a folder that is removed as a whole.
    RemovalFaults uninstall(const QStringList &needed) const;

    struct FileState
    {
        QByteArray digest; ///< hash of the content
        QByteArray change; ///< identity of the file and time of its last change
    };
    /// The present files in the places of the backed up originals, by entry.
    using Standing = QHash<QString, FileState>;
    Standing standing() const;
    /// Marks the files that unpacking has written as the add-on's, even if they have the same
    /// content as before. `before` is the state before unpacking.
    void markBrought(const Standing &before) const;
    /// Restores the originals in the places that a failed unpacking has changed since `before` and
    /// that markBrought() has marked.
    void returnReplaced(const Standing &before) const;

    /// Copies the preserved files back and deletes their copies. If the archive has brought a file
    /// of the same name, the copy is kept and marked as settled. To be called after unpacking.
    void restorePreserved() const;
    /// To be called when the removal is recorded: the package no longer relies on its backups.
    void letGo(const QStringList &needed) const;
    /// The other packages that rely on the backups, by entry, as far as is known.
    QHash<QString, QSet<int>> others() const;
    /// Deletes preserved copies and backups whose content is in its place again, except for backups
    /// that other packages need. If the package is not installed, such copies are left over from
    /// finished or interrupted work.
    void giveUpReturned(const QStringList &needed = {}) const;
    /// Does the same for preserved copies alone. If the package is installed, such copies are left
    /// over from work that ended before it removed anything, and must not overwrite later edits of
    /// the file.
    void giveUpKept() const;

private:
    /// The result of restoring a copy.
    enum class Return {
        NONE,  ///< there is no copy, or it could not be restored
        DONE,  ///< its content is in its place
        TAKEN, ///< another file is in its place
    };

    QString installed(const QString &entry) const;
    bool isReached(const QString &path) const;
    QString ownFolderAround(const QString &path) const;
    bool isNeeded(const QString &path) const;
    bool isAmongCopies(const QString &path) const;
    void removeEntry(const QString &entry, FailedPaths *failed) const;
    bool returnOriginal(const QString &entry) const;
    bool isOneOf(const QStringList &entries, const QString &entry) const;
    QString park(const QStringList &entries, const CopyStore &store, QStringList *made) const;
    bool parkFile(const QString &entry, const QString &source, const CopyStore &store,
                  QStringList *made) const;
    bool isOver(const QString &copy, const QString &source, const CopyStore &store) const;
    QString relyOnOriginals() const;
    bool isReplaced(const QString &copy, const QString &source, const CopyStore &store) const;
    void unsettleKept() const;
    Return bringBack(const QString &entry, const CopyStore &store) const;
    void giveUpReturned(const QString &entry, const CopyStore &store) const;

    PackageFolders m_folders;
    PackageVersion m_version;
    int m_package;
    CopyStore m_kept;
    CopyStore m_originals;
};

} // namespace Kavo::Models
