#pragma once

#include "core/ArchiveEntry.h"
#include "tools/publish/PackagePaths.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Kavo::Tools {

/// Works out what has to be removed with a version, from what its archive brings: folders that are
/// the add-on's alone, and the other files one by one.
///
/// A folder counts as the add-on's when the archive brings what makes the simulator load it: an
/// .xpl in a folder of `Resources/plugins`, an .acf in a folder of `Aircraft`, a library.txt or
/// "Earth nav data" in a folder of `Custom Scenery`. An archive that adds to somebody else's folder
/// brings none of these. So does a folder that the version before removes. None counts that belongs
/// to everybody or that other packages have a part in.
class RemovalRules final
{
public:
    /// `removedBefore` is what the version before removes.
    RemovalRules(const PackagePaths &others, QStringList removedBefore);

    /// The entries for an archive that is unpacked into `extract`, in the order of their names.
    /// What the version before removes stays in the list, because an update goes by the new one.
    QStringList entriesFor(const Extractors::ArchiveListing &listing, const QString &extract);

    /// Folders right below one that is for add-ons, of which files are listed one by one although
    /// no other package has a part in them.
    QStringList undecidedFolders() const { return m_undecided; }

private:
    void findFolders(const QStringList &files);
    /// The folder that a file shows to be the add-on's, empty when it shows none.
    QString folderShownBy(const QString &file) const;
    QString ownFolderAround(const QString &file) const;
    void noteUndecided(const QString &file);

    const PackagePaths &m_others;
    QStringList m_before;
    QSet<QString> m_folders;
    QStringList m_undecided;
};

} // namespace Kavo::Tools
