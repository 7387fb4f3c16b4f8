#include "packages/installation/UnpackedFiles.h"

#include "core/FileCopy.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace Kavo {

using Extractors::ArchiveEntry;

namespace {

/// Finds the parent folders of a path that do not exist yet. Each folder is checked once: archives
/// with tens of thousands of files have far fewer folders.
class MissingFolders final
{
public:
    explicit MissingFolders(QString root) : m_root(std::move(root)) {}

    /// Whether the folder is missing. Remembers it and its parents.
    bool isMissing(const QString &folder)
    {
        if (folder.size() <= m_root.size() || m_present.contains(folder))
            return false;
        if (m_missing.contains(folder))
            return true;
        const QString above = folder.left(folder.lastIndexOf(QLatin1Char('/')));
        if (!isMissing(above) && isTaken(folder)) {
            m_present.insert(folder);
            return false;
        }
        m_missing.insert(folder);
        m_inOrder.append(folder);
        return true;
    }

    /// Each after its parent folders.
    QStringList all() const { return m_inOrder; }

private:
    QString m_root;
    QSet<QString> m_present;
    QSet<QString> m_missing;
    QStringList m_inOrder;
};

} // namespace

UnpackedFiles::UnpackedFiles(const Extractors::ArchiveListing &listing, const QString &folder,
                             const QString &root)
{
    const QString top = QDir::cleanPath(folder);
    MissingFolders folders(QDir::cleanPath(root));
    folders.isMissing(top);
    for (const ArchiveEntry &entry : listing.entries) {
        const QString path = QDir::cleanPath(top + QLatin1Char('/') + entry.path);
        if (entry.path.isEmpty() || path == top)
            continue;
        if (entry.kind == ArchiveEntry::Kind::FOLDER)
            folders.isMissing(path);
        else if (folders.isMissing(path.left(path.lastIndexOf(QLatin1Char('/')))) || !isTaken(path))
            m_files.append(path);
    }
    m_folders = folders.all();
}

void UnpackedFiles::takeAway() const
{
    for (const QString &file : m_files)
        ::unlink(QFile::encodeName(file).constData());
    // The innermost folders first. A folder that contains anything else is kept.
    std::for_each(m_folders.crbegin(), m_folders.crend(),
                  [](const QString &folder) { ::rmdir(QFile::encodeName(folder).constData()); });
}

} // namespace Kavo
