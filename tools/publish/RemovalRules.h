#pragma once

#include "core/ArchiveEntry.h"
#include "tools/publish/PackagePaths.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Kavo::Tools {

/// Derives the removal rule of a version from the content of its archive: folders that belong to
/// the add-on alone, and single files for the rest.
///
/// A folder belongs to the add-on if the archive contains the file that makes the simulator load
/// it: an .xpl in a folder of `Resources/plugins`, an .acf in a folder of `Aircraft`, a library.txt
/// or "Earth nav data" in a folder of `Custom Scenery`. An archive that extends another add-on's
/// folder contains none of these. A folder that the previous version removes belongs to the add-on,
/// too. A common folder never does, nor one that other packages use.
class RemovalRules final
{
public:
    /// `removedBefore` is the removal rule of the previous version.
    RemovalRules(const PackagePaths &others, QStringList removedBefore);

    /// Returns the entries for an archive that is unpacked into `extract`, sorted by name. The
    /// entries of the previous version are kept, because an update removes by the new rule.
    QStringList entriesFor(const Extractors::ArchiveListing &listing, const QString &extract);

    /// Folders directly below a folder for add-ons whose files are listed one by one although no
    /// other package uses them.
    QStringList undecidedFolders() const { return m_undecided; }

private:
    void findFolders(const QStringList &files);
    /// The add-on's folder according to a file, empty if the file does not determine one.
    QString folderShownBy(const QString &file) const;
    QString ownFolderAround(const QString &file) const;
    void noteUndecided(const QString &file);

    const PackagePaths &m_others;
    QStringList m_before;
    QSet<QString> m_folders;
    QStringList m_undecided;
};

} // namespace Kavo::Tools
