#pragma once

#include "packages/installation/CopyOwner.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Models {

/// A folder for copies of the user's files, as the simulator in use sees it.
///
/// The copy of an entry has the entry's own path. Copies of another simulator are foreign, and so
/// are copies of the other kind if both kinds share a folder (CopyOwner). Foreign copies are not
/// visible here. If the path of one is needed, it is moved to a hidden folder of its owner, and
/// moved back when its owner asks for it. A copy without a mark counts as own, unless a marked one
/// is found; but not in a folder that contains the simulator, where it may be any file of the user.
///
/// Copies are also searched for in former folders and moved here. One that cannot be moved is used
/// where it is. A copy that is a link to the original file does not count.
///
/// May be called on any thread.
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

    /// The path for the copy of an entry, empty if it is not in the folder.
    QString place(const QString &entry) const;
    /// The same path, after creating its parent folders; empty also if that fails.
    QString makePlace(const QString &entry) const;
    /// The copy of an entry, empty if there is none. It may be a folder.
    QString find(const QString &entry) const;
    /// Copies a file to the path of an entry without a copy. Returns whether it succeeded. Nobody
    /// relies on a new original yet (CopyUsers).
    bool add(const QString &entry, const QString &source) const;
    /// Moves the copy of an entry to a numbered hidden folder, which the program does not read but
    /// a person can find. Returns whether the entry has no copy now.
    bool setAside(const QString &entry) const;
    /// Deletes the copy of an entry, or the marks that a sudden end has left without a copy.
    void giveUp(const QString &entry) const;

private:
    struct Place
    {
        QString path;
        bool needsMark; ///< files without a mark in this folder are not copies
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
