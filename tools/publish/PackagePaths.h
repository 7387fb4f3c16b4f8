#pragma once

#include "tools/check/CatalogueView.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <set>

namespace Kavo::Tools {

/// The folder into which a version is unpacked, clean and from the simulator's folder on; empty for
/// the simulator's own.
QString extractFolderOf(const VersionView &version);

/// What the packages of a catalogue but one have in the simulator, as far as their rules tell.
/// Cases are not told apart: catalogues are made on systems that do not, too.
class PackagePaths final
{
public:
    /// `without` is the position of that one, negative for none.
    PackagePaths(const CatalogueView &catalogue, int without);

    /// Whether something at a path, in it or around it belongs to one of them.
    bool reach(const QString &path) const;

private:
    void add(const VersionView &version);

    std::set<QString> m_named;
    QSet<QString> m_removed;
};

} // namespace Kavo::Tools
