#pragma once

#include "core/ArchiveEntry.h"
#include "tools/check/PathTree.h"
#include "tools/check/SomePaths.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Kavo::Tools {

/// What an archive brings into the simulator's folder. Paths are told from there on.
class ShippedFiles final
{
public:
    enum class Kind {
        NOTHING,
        FOLDER,
        FILE, ///< or a link
    };

    /// `folder` is where the archive is unpacked.
    ShippedFiles(const Extractors::ArchiveListing &listing, const QString &folder);

    Kind kindOf(const QString &path) const;
    Kind kindOf(int node) const { return m_kinds[static_cast<std::size_t>(node)]; }
    bool isFile(int node) const { return kindOf(node) == Kind::FILE; }
    /// Nodes lie behind what they lie in.
    const PathTree &tree() const { return m_tree; }
    /// The first node that lies in the folder into which the archive is unpacked.
    int firstInside() const { return m_firstInside; }

    /// Entries with paths that no system call takes; they are not in the tree.
    const SomePaths &tooLong() const { return m_tooLong; }
    /// Entries that are a file here and a folder there.
    const SomePaths &clashes() const { return m_clashes; }

    /// The files that stay when these files and folders are deleted.
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
