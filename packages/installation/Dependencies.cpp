#include "packages/installation/Dependencies.h"

#include <algorithm>

namespace Kavo::Models {

namespace {

/// The first entry for a package, or null.
const DependencyEntry *entryFor(const QVector<DependencyEntry> &entries, int packageId)
{
    const auto found =
        std::find_if(entries.cbegin(), entries.cend(), [packageId](const DependencyEntry &entry) {
            return entry.packageId == packageId;
        });
    return found == entries.cend() ? nullptr : &*found;
}

} // namespace

Dependencies::Dependencies(const Catalogue &catalogue, const InstalledPackageDatabase &database)
    : m_catalogue(catalogue)
    , m_database(database)
{}

QVector<DependencyEntry> Dependencies::entries(const Package &package, const QString &version)
{
    QVector<DependencyEntry> entries;
    if (const PackageVersionPointer record = package.findVersion(version)) {
        for (const QString &entry : record->depends)
            entries.append(DependencyEntry::parse(entry));
    }
    return entries;
}

PackageList Dependencies::resolved(const Package &package, const QString &version) const
{
    const QVector<DependencyEntry> wanted = entries(package, version);
    QVector<int> ids;
    for (const DependencyEntry &entry : wanted)
        ids.append(entry.packageId);

    PackageList found = m_catalogue.withIds(ids);
    const auto unmet = [&wanted](const PackagePointer &candidate) {
        // A package without versions cannot be installed.
        return candidate->versions().isEmpty() ||
               !entryFor(wanted, candidate->id())->isMetBy(candidate->newestVersion());
    };
    found.erase(std::remove_if(found.begin(), found.end(), unmet), found.end());
    return found;
}

PackageList Dependencies::dependents(const Package &package, const QString &version) const
{
    PackageList found = m_catalogue.mentioning(package.id());
    const auto independent = [this, &package, &version](const PackagePointer &candidate) {
        return !dependsOn(*candidate, package, version);
    };
    found.erase(std::remove_if(found.begin(), found.end(), independent), found.end());
    return found;
}

PackageList Dependencies::toInstallWith(const Package &package, const QString &version) const
{
    PackageList wanted;
    for (const DependencyEntry &entry : entries(package, version)) {
        const PackagePointer dependency = m_catalogue.resolve(entry.packageId);
        if (!dependency)
            continue;
        const bool missing = dependency->state() == Package::AVAILABLE;
        const bool tooOld = dependency->state() == Package::INSTALLED &&
                            !entry.isMetBy(m_database.version(*dependency));
        if (missing || tooOld)
            wanted.append(dependency);
    }
    return wanted;
}

bool Dependencies::dependsOn(const Package &dependent, const Package &package,
                             const QString &version) const
{
    if (dependent.id() == package.id() || dependent.state() != Package::INSTALLED)
        return false;
    const QVector<DependencyEntry> needs = entries(dependent, m_database.version(dependent));
    const DependencyEntry *entry = entryFor(needs, package.id());
    return entry && (version.isEmpty() || !entry->isMetBy(version));
}

} // namespace Kavo::Models
