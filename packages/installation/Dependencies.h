#pragma once

#include "packages/catalogue/Catalogue.h"
#include "packages/model/DependencyEntry.h"
#include "packages/record/InstalledPackageDatabase.h"

namespace Kavo::Models {

/// Answers questions about dependency entries. An empty version text means the newest version; a
/// package without versions has no dependencies. Main thread.
class Dependencies final
{
public:
    Dependencies(const Catalogue &catalogue, const InstalledPackageDatabase &database);

    /// The entries of a version, in order.
    static QVector<DependencyEntry> entries(const Package &package, const QString &version);

    /// The available packages whose newest versions satisfy the version's entries, in catalogue
    /// order. If there are fewer packages than entries, the version cannot be installed.
    PackageList resolved(const Package &package, const QString &version) const;

    /// The installed packages that depend on this one, in catalogue order; with a version text only
    /// those that need a newer version.
    PackageList dependents(const Package &package, const QString &version) const;

    /// The packages that have to be installed or upgraded together with a version, in order:
    /// available dependencies that are not installed, or installed in too old a version.
    PackageList toInstallWith(const Package &package, const QString &version) const;

private:
    bool dependsOn(const Package &dependent, const Package &package, const QString &version) const;

    const Catalogue &m_catalogue;
    const InstalledPackageDatabase &m_database;
};

} // namespace Kavo::Models
