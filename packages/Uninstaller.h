#pragma once

#include "packages/Dependencies.h"
#include "packages/PackageFiles.h"

namespace Kavo::Models {

/// Takes packages out of the simulator, those that depend on them first. Main thread, synchronous.
class Uninstaller final
{
public:
    Uninstaller(const Catalogue &catalogue, InstalledPackageDatabase &database,
                PackageFolders folders);

    /// Whether a removal is going on.
    bool isBusy() const { return m_busy; }

    /// Returns when the files of the package and of all its dependents are gone.
    void uninstall(const PackagePointer &package);

private:
    void remove(Package &package);

    InstalledPackageDatabase &m_database;
    Dependencies m_dependencies;
    PackageFolders m_folders;
    bool m_busy = false;
};

} // namespace Kavo::Models
