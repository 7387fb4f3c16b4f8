#pragma once

#include "packages/installation/Dependencies.h"
#include "packages/installation/PackageFiles.h"
#include "packages/model/Removal.h"

namespace Kavo::Models {

/// Removes packages from the simulator, dependents first. Main thread, synchronous.
class Uninstaller final
{
public:
    Uninstaller(const Catalogue &catalogue, InstalledPackageDatabase &database,
                PackageFolders folders);

    /// Whether a removal is going on.
    bool isBusy() const { return m_busy; }

    /// The packages that are removed together with this one: its dependents, each before the
    /// packages it needs, and then the package itself.
    PackageList removalOrder(const PackagePointer &package) const;

    /// Removes the packages in this order and returns afterwards. Stops if the simulator is not
    /// there, because its files may come back with its disk.
    Removal uninstall(const PackageList &packages);

    /// Whether there is any file in the preserve and backup folders that clearUp() could delete.
    bool hasCopies() const;
    /// Deletes copies of a package that a sudden end has left in the preserve and backup folders
    /// and whose content is in its place again. The backups of an installed package are kept. Must
    /// not be called for packages that running work is about, nor during an installation, which may
    /// be about to replace the same files.
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
