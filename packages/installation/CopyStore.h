#pragma once

#include "packages/installation/CopyOwner.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Models {

/// A folder for copies of the user's files, seen from the simulator in use.
///
/// The copy of an entry stands under the entry's own path. Copies of another simulator, and those
/// of the other kind where both have one folder, are strangers (CopyOwner): they are not seen here,
/// and one whose place is needed makes room. It then waits in a hidden folder of its owner's, from
/// where it is brought in again as soon as it is asked for. A copy without a mark counts as own,
/// unless a marked one is found, and but not in a folder that holds the simulator, where any file
/// of the user's may stand.
///
/// Copies are also looked for in the folders that were in use before, and brought in. One that
/// cannot be brought in is used where it is. A copy that is the very file itself is none.
///
/// Callable from any thread.
class CopyStore final
{
public:
    enum class Kind { KEPT, ORIGINAL };

    struct Folders
    {
        QString simulator;
        QString copies;
        QStringList former; ///< latest first
    };

    CopyStore(Kind kind, Folders folders);

    /// Where the copy of an entry belongs, empty when that is not in the folder.
    QString place(const QString &entry) const;
    /// The same, with the folders on the way made; empty also when that fails.
    QString makePlace(const QString &entry) const;
    /// The copy of an entry, empty when there is none. May be a folder.
    QString find(const QString &entry) const;
    /// Copies a file to the place of an entry for which there is no copy. Returns whether it did.
    /// Nobody relies on a new original yet (CopyUsers).
    bool add(const QString &entry, const QString &source) const;
    /// Moves the copy of an entry to a numbered hidden folder, where nothing looks for it any more
    /// and a person still finds it. Returns whether the entry has no copy now.
    bool setAside(const QString &entry) const;
    /// Deletes the copy of an entry, or the marks that a sudden end has left of one.
    void giveUp(const QString &entry) const;

private:
    struct Place
    {
        QString path;
        bool needsMark; ///< whatever has no mark there is no copy
    };

    QVector<Place> places(const QString &entry) const;
    bool isOwn(const Place &copy, const QString &entry, bool marked) const;
    QString placeAside(const QString &entry) const;
    bool makeRoom(const QString &copy, const QString &entry) const;

    Kind m_kind;
    CopyOwner m_owner;
    Folders m_folders;
};

} // namespace Kavo::Models
