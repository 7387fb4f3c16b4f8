#pragma once

#include "packages/catalogue/Catalogue.h"
#include "packages/model/DependencyEntry.h"
#include "packages/record/InstalledPackageDatabase.h"

namespace Kavo::Models {

/// The questions that are answered from dependency entries. An empty version text means the
/// newest version; a package without versions depends on nothing. Main thread.
class Dependencies final
{
public:
    Dependencies(const Catalogue &catalogue, const InstalledPackageDatabase &database);

    /// The entries of a version, in order.
    static QVector<DependencyEntry> entries(const Package &package, const QString &version);

    /// Packages on offer that satisfy the version's entries with their newest version, in
    /// catalogue order. Fewer than there are entries: the version cannot be installed.
    PackageList resolved(const Package &package, const QString &version) const;

    /// Installed packages that need this one, in catalogue order; with a version text only those
    /// that need a newer one than that.
    PackageList dependents(const Package &package, const QString &version) const;

    /// What has to be installed or upgraded along with a version, in order: dependencies that are
    /// on offer and not installed, or installed in too old a version.
    PackageList toInstallWith(const Package &package, const QString &version) const;

private:
    bool dependsOn(const Package &dependent, const Package &package, const QString &version) const;

    const Catalogue &m_catalogue;
    const InstalledPackageDatabase &m_database;
};

} // namespace Kavo::Models
