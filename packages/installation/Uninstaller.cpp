#include "packages/installation/Uninstaller.h"

#include "core/Installation.h"
#include "core/Log.h"
#include "packages/installation/PackageOrder.h"

#include <QDirIterator>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace Kavo::Models {

namespace {

bool holdsFiles(const QString &folder)
{
    return QDirIterator(folder, QDir::Files | QDir::Hidden | QDir::System,
                        QDirIterator::Subdirectories)
        .hasNext();
}

/// Whether files of the package may be in the simulator.
bool mayBeThere(const Package &package)
{
    return package.state() == Package::INSTALLED || package.state() == Package::INSTALL_ERROR ||
           package.isBusy();
}

bool backsUp(const Package &package)
{
    const auto &versions = package.versions();
    return std::any_of(
        versions.cbegin(), versions.cend(),
        [](const PackageVersionPointer &version) { return !version->install->backup.isEmpty(); });
}

} // namespace

Uninstaller::Uninstaller(const Catalogue &catalogue, InstalledPackageDatabase &database,
                         PackageFolders folders)
    : m_catalogue(catalogue)
    , m_database(database)
    , m_dependencies(catalogue, database)
    , m_folders(std::move(folders))
{}

PackageList Uninstaller::removalOrder(const PackagePointer &package) const
{
    return neighboursFirst(package, [this](const PackagePointer &wanted) {
        return m_dependencies.dependents(*wanted, QString());
    });
}

Removal Uninstaller::uninstall(const PackageList &packages)
{
    const QScopedValueRollback<bool> busy(m_busy, true);
    Removal removal;
    for (const PackagePointer &package : packages) {
        if (!simulatorIsThere(removal) || !remove(*package, removal))
            break;
    }
    return removal;
}

bool Uninstaller::simulatorIsThere(Removal &removal) const
{
    if (holdsSimulator(m_folders.installation))
        return true;
    logLine(QStringLiteral("No simulator : ") + m_folders.installation);
    removal.missingSimulator = m_folders.installation;
    return false;
}

/// Returns whether the package is removed as far as possible.
bool Uninstaller::remove(Package &package, Removal &removal)
{
    const QString version = m_database.version(package);
    const PackageFiles files = filesOf(package, version);
    const QStringList needed = neededBackups(package, files);
    package.setState(Package::UNINSTALLING);
    m_database.forgetWhole(package);
    const RemovalFaults faults = files.uninstall(needed);
    removal.faults.remaining.add(faults.remaining);
    removal.faults.notReturned.add(faults.notReturned);
    // If the disk was unmounted meanwhile, the remaining files are still on it.
    if (!simulatorIsThere(removal)) {
        package.setState(Package::INSTALLED);
        return false;
    }
    package.setUpdateAvailable(false);
    package.setState(Package::AVAILABLE);
    m_database.record(package, version);
    // Until the removal is recorded it may have to be repeated, which needs the backups.
    files.letGo(needed);
    files.giveUpReturned(needed);
    return true;
}

/// The files of a version, with the backup rules of all versions.
PackageFiles Uninstaller::filesOf(const Package &package, const QString &version) const
{
    const PackageVersionPointer record = package.findVersion(version);
    return PackageFiles(m_folders, record ? package.withAllBackups(*record) : PackageVersion(),
                        package.id());
}

/// The backups needed by all other packages that are installed or being installed. The rules of a
/// package that is no longer in the catalogue are unknown, but the backups in `files` show whether
/// it needs them.
QStringList Uninstaller::neededBackups(const Package &without, const PackageFiles &files) const
{
    QStringList needed;
    for (const PackagePointer &package : m_catalogue.known()) {
        // Most packages have no backups; the database is not asked for them.
        if (package->id() == without.id() || !mayBeThere(*package) || !backsUp(*package))
            continue;
        if (package->state() == Package::INSTALLED) {
            const auto version = package->findVersion(m_database.version(*package));
            if (version)
                needed += version->install->backup;
        } else {
            // The record names the version being installed, but another one may still be on the
            // disk.
            for (const PackageVersionPointer &version : package->versions())
                needed += version->install->backup;
        }
    }
    const auto others = files.others();
    for (auto users = others.cbegin(); users != others.cend(); ++users) {
        const bool isNeeded = std::any_of(users->cbegin(), users->cend(), [this](int id) {
            return !m_catalogue.resolve(id) && m_database.mayBeThere(id);
        });
        if (isNeeded)
            needed.append(users.key());
    }
    return needed;
}

bool Uninstaller::hasCopies() const
{
    const QStringList folders = QStringList{m_folders.preserve, m_folders.backup} +
                                m_folders.formerPreserve + m_folders.formerBackup;
    return std::any_of(folders.cbegin(), folders.cend(), holdsFiles);
}

void Uninstaller::clearUp(const Package &package) const
{
    if (package.state() == Package::INSTALLED)
        clearUpInstalled(package);
    else if (package.state() == Package::AVAILABLE)
        clearUpRemoved(package);
}

/// The interrupted work may have been about to install any version.
void Uninstaller::clearUpInstalled(const Package &package) const
{
    for (const PackageVersionPointer &version : package.versions()) {
        if (!version->install->preserve.isEmpty())
            PackageFiles(m_folders, *version).giveUpKept();
    }
}

void Uninstaller::clearUpRemoved(const Package &package) const
{
    const auto &versions = package.versions();
    const bool parks =
        std::any_of(versions.cbegin(), versions.cend(), [](const PackageVersionPointer &version) {
            return !version->install->backup.isEmpty() || !version->install->preserve.isEmpty();
        });
    if (!parks)
        return;
    const QString version = m_database.version(package);
    if (version.isEmpty())
        return;
    const PackageFiles files = filesOf(package, version);
    const QStringList needed = neededBackups(package, files);
    // Any other record is from interrupted work that may still be finished.
    if (m_database.status(package) == Package::AVAILABLE)
        files.letGo(needed);
    files.giveUpReturned(needed);
}

} // namespace Kavo::Models
