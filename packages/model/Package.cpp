#include "packages/model/Package.h"

#include <algorithm>

namespace Kavo::Models {

void Package::setState(State state)
{
    if (m_state.exchange(state) != state)
        emit stateChanged(state);
}

bool Package::isError(State state)
{
    return state == INSTALL_ERROR || state == DOWNLOAD_ERROR || state == DEPENDENCY_ERROR;
}

bool Package::isBusy() const
{
    const State state = m_state;
    return state == PREPARING || state == DOWNLOADING || state == INSTALLING ||
           state == UNINSTALLING;
}

int Package::versionIndex(const QString &version) const
{
    if (version.isEmpty())
        return 0;
    const auto found = std::find_if(
        m_versions.cbegin(), m_versions.cend(),
        [&version](const PackageVersionPointer &entry) { return entry->version == version; });
    return found == m_versions.cend() ? 0 : static_cast<int>(found - m_versions.cbegin());
}

PackageVersionPointer Package::findVersion(const QString &version) const
{
    return m_versions.value(versionIndex(version));
}

PackageVersion Package::withAllBackups(const PackageVersion &version) const
{
    PackageVersion all = version;
    all.install = QSharedPointer<PackageInstallRule>::create(*version.install);
    for (const PackageVersionPointer &other : m_versions)
        all.install->backup += other->install->backup;
    all.install->backup.removeDuplicates();
    return all;
}

QString Package::newestVersion() const
{
    return m_versions.isEmpty() ? QString() : m_versions.first()->version;
}

bool Package::hasUpdateAfter(const QString &version) const
{
    const QString newest = newestVersion();
    return version != newest && isOutdated(version, newest);
}

void registerPackageState()
{
    qRegisterMetaType<Package::State>("Kavo::Models::Package::State");
}

QStringList knownPackageTypes()
{
    return {QStringLiteral("PLUGIN"), QStringLiteral("LIBRARY")};
}

} // namespace Kavo::Models
