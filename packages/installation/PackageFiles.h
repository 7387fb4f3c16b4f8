#pragma once

#include "packages/installation/CopyStore.h"
#include "packages/model/PackageVersion.h"
#include "packages/model/RemovalFaults.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Kavo::Models {

/// Where the files of packages live; every path ends in a separator.
struct PackageFolders
{
    QString installation; ///< the simulator's folder
    QString preserve;     ///< files parked over a re-installation
    QString backup;       ///< originals that packages replaced
    /// What the last two were before, latest first: copies may still lie there.
    QStringList formerPreserve = {};
    QStringList formerBackup = {};
};

/// What the rules of one version mean on disk.
///
/// Only single files are carried across: for a folder in a preserve or backup list just the
/// target's parent folder is made. A copy never overwrites, and a file that is only half copied
/// never bears the name of the whole one. Failing copies and removals are logged, and the rest goes
/// on but for secure(). A parked file is given up only when its content stands in its place again.
///
/// Rules come from outside: an entry that is empty, absolute or leads out of its folder by ".." is
/// skipped with a log line, and so is one that names a folder in which the simulator or one of the
/// other two folders stands. Links on the way are the user's own and are followed, wherever they
/// lead, since unpacking follows them too; but a link below an entry of the removal rule may have
/// come with the package, and an entry that it leads out is skipped. Removing a link removes the
/// link. Callable from any thread.
/// Fixed, see docs/compatibility.md.
class PackageFiles final
{
public:
    /// `package` is the id of the package whose version it is.
    PackageFiles(const PackageFolders &folders, const PackageVersion &version, int package = 0);

    /// The folder to unpack into, without a trailing separator; empty when the rule leaves the
    /// simulator's folder.
    QString extractFolder() const;

    /// Copies the files to keep to the preserve folder and originals to the backup folder. To be
    /// called before anything is removed.
    ///
    /// A backup that is there already stays, unless no package relies on it any more and a file of
    /// the user's stands in its place: then it is set aside for a new one. From now on this package
    /// relies on its backups. A copy of a file to keep stays as well, since it may be the user's
    /// only one, unless an earlier installation has come to its end without it and the user has
    /// edited the file since: then the copy is older and gives way.
    ///
    /// Returns the path of the first file that could not be copied, empty when all is safe. After a
    /// failure nothing may be replaced or removed. What was copied is taken away again then.
    QString secure() const;
    /// Deletes what the removal rule lists, then puts the backed up originals back where nothing
    /// stands; returns what of it failed. The backups stay, so that a removal that was cut short
    /// can be repeated: the second one would delete the originals that the first has put back.
    RemovalFaults remove() const;
    /// The same, for good. The add-on's files, those that an archive has brought and nobody has
    /// edited since, also give way to the originals where no rule removes them; a file of the
    /// user's stays, and so does its backup. `needed` are backups of other installed packages:
    /// what stands in their places stays, unless it goes with a whole folder.
    RemovalFaults uninstall(const QStringList &needed) const;

    struct FileState
    {
        QByteArray digest; ///< of the content
        QByteArray change; ///< which file it is and when it was changed last
    };
    /// What stands in the places of the backed up originals, by entry.
    using Standing = QHash<QString, FileState>;
    Standing standing() const;
    /// Marks what unpacking has written as the add-on's, also where the same stood there before.
    /// `before` is what stood there until then.
    void markBrought(const Standing &before) const;
    /// Puts the originals back over what an unpacking that has failed has changed since `before`
    /// and markBrought() has marked.
    void returnReplaced(const Standing &before) const;

    /// Copies preserved files back and deletes the preserved copies. One whose place the archive
    /// has taken stays and is settled. To be called when everything is unpacked.
    void restorePreserved() const;
    /// To be called when the removal is recorded: the package relies on its backups no longer.
    void letGo(const QStringList &needed) const;
    /// The other packages that rely on the backups, by entry, as far as it is known.
    QHash<QString, QSet<int>> others() const;
    /// Deletes preserved copies and backups whose content stands in its place, but for the backups
    /// that other packages need. While the package is not installed they are left over from work
    /// that has ended suddenly, or is done.
    void giveUpReturned(const QStringList &needed = {}) const;
    /// The same for preserved copies alone. While the package is installed, those whose content
    /// stands in its place are left over from work that has ended before it removed anything; a
    /// later edit of the file must not lose against them.
    void giveUpKept() const;

private:
    /// What became of a copy that was to stand in its place again.
    enum class Return {
        NONE,  ///< there is no copy, or it could not be brought back
        DONE,  ///< its content stands in its place
        TAKEN, ///< something else stands there
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
