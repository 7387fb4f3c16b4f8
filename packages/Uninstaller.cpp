#include "packages/Uninstaller.h"

#include <QScopedValueRollback>
#include <QSet>

#include <utility>

namespace Kavo::Models {

Uninstaller::Uninstaller(const Catalogue &catalogue, InstalledPackageDatabase &database,
                         PackageFolders folders)
    : m_database(database)
    , m_dependencies(catalogue, database)
    , m_folders(std::move(folders))
{}

/// Dependents first, each once: as with installations, the walk keeps its own stack and passes
/// over what it has met.
void Uninstaller::uninstall(const PackagePointer &package)
{
    struct Step
    {
        PackagePointer package;
        PackageList dependents;
    };
    const QScopedValueRollback<bool> busy(m_busy, true);
    const auto stepFor = [this](const PackagePointer &wanted) {
        return Step{wanted, m_dependencies.dependents(*wanted, QString())};
    };

    QSet<int> met{package->id()};
    QVector<Step> steps{stepFor(package)};
    while (!steps.isEmpty()) {
        Step &step = steps.last();
        if (step.dependents.isEmpty()) {
            const PackagePointer ready = steps.takeLast().package;
            remove(*ready);
            continue;
        }
        const PackagePointer dependent = step.dependents.takeFirst();
        if (met.contains(dependent->id()))
            continue;
        met.insert(dependent->id());
        steps.append(stepFor(dependent));
    }
}

void Uninstaller::remove(Package &package)
{
    const QString version = m_database.version(package);
    package.setState(Package::UNINSTALLING);
    if (const PackageVersionPointer record = package.findVersion(version))
        PackageFiles(m_folders, *record).remove();
    package.setUpdateAvailable(false);
    package.setState(Package::AVAILABLE);
    m_database.record(package, version);
}

} // namespace Kavo::Models
