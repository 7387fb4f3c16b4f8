#pragma once

#include <QString>

namespace Kavo::Models {

/// Whose the copies of a file are: those of one kind, of files of one simulator. A hidden file
/// beside a copy tells it. It is written before the copy is made and goes before it, so that no
/// copy is ever taken for another owner's; a mark without a copy means nothing.
///
/// A simulator is known by its folder. One that was renamed or moved on its disk is still the same.
/// Callable from any thread.
class CopyOwner final
{
public:
    enum class Claim {
        OWN,
        FOREIGN, ///< another simulator's or of another kind
        NONE,    ///< not marked, as versions of the program before this one left it
    };

    /// A kind is one word. The simulator's folder may end in a separator.
    CopyOwner(const QString &kind, const QString &simulator);

    Claim claimOn(const QString &copy) const;
    /// Returns whether the mark is there now.
    bool mark(const QString &copy) const;
    static void unmark(const QString &copy);

    static QString markOf(const QString &copy);

private:
    QByteArray m_kind;
    QByteArray m_folder;
    QByteArray m_number; ///< what stays when the folder gets another name
};

} // namespace Kavo::Models
