#pragma once

#include "core/ArchiveEntry.h"
#include "tools/check/PathTree.h"
#include "tools/check/SomePaths.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Kavo::Tools {

/// The files that an archive adds to the simulator's folder, with paths relative to it.
class ShippedFiles final
{
public:
    enum class Kind {
        NOTHING,
        FOLDER,
        FILE, ///< or a link
    };

    /// `folder` is the folder to unpack into.
    ShippedFiles(const Extractors::ArchiveListing &listing, const QString &folder);

    Kind kindOf(const QString &path) const;
    Kind kindOf(int node) const { return m_kinds[static_cast<std::size_t>(node)]; }
    bool isFile(int node) const { return kindOf(node) == Kind::FILE; }
    /// Nodes come after their parents.
    const PathTree &tree() const { return m_tree; }
    /// The first node inside the folder to unpack into.
    int firstInside() const { return m_firstInside; }

    /// Entries whose paths are too long for system calls; they are not in the tree.
    const SomePaths &tooLong() const { return m_tooLong; }
    /// Paths that are a file in one entry and a folder in another.
    const SomePaths &clashes() const { return m_clashes; }

    /// The files that remain after these files and folders are deleted.
    SomePaths without(const QStringList &deleted) const;

private:
    void addEntry(Extractors::ArchiveEntry::Kind kind, const QString &path);

    PathTree m_tree;
    int m_firstInside = 0;
    std::vector<Kind> m_kinds; ///< by node
    SomePaths m_tooLong;
    SomePaths m_clashes;
};

} // namespace Kavo::Tools
