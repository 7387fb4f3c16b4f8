#pragma once

#include "packages/installation/Dependencies.h"
#include "packages/installation/PackageFiles.h"
#include "packages/model/Removal.h"

namespace Kavo::Models {

/// Takes packages out of the simulator, those that depend on them first. Main thread, synchronous.
class Uninstaller final
{
public:
    Uninstaller(const Catalogue &catalogue, InstalledPackageDatabase &database,
                PackageFolders folders);

    /// Whether a removal is going on.
    bool isBusy() const { return m_busy; }

    /// What goes when this package goes: its dependents, each before what it needs, and then the
    /// package.
    PackageList removalOrder(const PackagePointer &package) const;

    /// Removes the packages in this order; returns when their files are gone. Stops where the
    /// simulator is not there: its files may come back with its disk.
    Removal uninstall(const PackageList &packages);

    /// Whether anything lies in the preserve and backup folders that clearUp() could take away.
    bool hasCopies() const;
    /// Takes away what a sudden end has left of a package in the preserve and backup folders
    /// although it stands in its place again. The backups of a package that is installed stay. Not
    /// for packages that work which is going on is about, nor while an installation runs: it may
    /// be about to replace the very files.
    void clearUp(const Package &package) const;

private:
    void clearUpInstalled(const Package &package) const;
    void clearUpRemoved(const Package &package) const;
    PackageFiles filesOf(const Package &package, const QString &version) const;
    QStringList neededBackups(const Package &without, const PackageFiles &files) const;
    bool simulatorIsThere(Removal &removal) const;
    bool remove(Package &package, Removal &removal);

    const Catalogue &m_catalogue;
    InstalledPackageDatabase &m_database;
    Dependencies m_dependencies;
    PackageFolders m_folders;
    bool m_busy = false;
};

} // namespace Kavo::Models
