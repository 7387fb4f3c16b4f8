#pragma once

#include <QString>

namespace Kavo::Models {

/// The owner of copies: one kind of copies for one simulator. A hidden file beside a copy, its
/// mark, names the owner. The mark is written before the copy and removed before it, so that no
/// copy is ever taken for another owner's. A mark without a copy has no meaning.
///
/// A simulator is identified by its folder, also after the folder was renamed or moved on its disk.
/// May be called on any thread.
class CopyOwner final
{
public:
    enum class Claim {
        OWN,
        FOREIGN, ///< of another simulator or another kind
        NONE,    ///< without a mark, as older versions of the program left it
    };

    /// `kind` is a single word. The simulator's folder may end in a separator.
    CopyOwner(const QString &kind, const QString &simulator);

    Claim claimOn(const QString &copy) const;
    /// Writes the mark. Returns whether it exists now.
    bool mark(const QString &copy) const;
    static void unmark(const QString &copy);

    static QString markOf(const QString &copy);

private:
    QByteArray m_kind;
    QByteArray m_folder;
    QByteArray m_number; ///< what stays the same when the folder is renamed
};

} // namespace Kavo::Models
