#pragma once

#include "tools/check/CatalogueView.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <set>

namespace Kavo::Tools {

/// The folder that a version is unpacked into, clean and relative to the simulator's folder; empty
/// for the simulator's own.
QString extractFolderOf(const VersionView &version);

/// The paths that all packages of a catalogue except one use in the simulator, according to their
/// rules. Case is ignored, because catalogues are made on systems that ignore it.
class PackagePaths final
{
public:
    /// `without` is the index of the excepted package, negative for none.
    PackagePaths(const CatalogueView &catalogue, int without);

    /// Whether a path, an entry below it or one of its parents belongs to one of these packages.
    bool reach(const QString &path) const;

private:
    void add(const VersionView &version);

    std::set<QString> m_named;
    QSet<QString> m_removed;
};

} // namespace Kavo::Tools
