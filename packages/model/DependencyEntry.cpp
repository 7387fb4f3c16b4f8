#include "packages/model/DependencyEntry.h"

#include "packages/model/PackageVersion.h"

namespace Kavo::Models {

DependencyEntry DependencyEntry::parse(const QString &entry)
{
    // Fixed, see docs/compatibility.md.
    if (entry.isEmpty())
        qFatal("Invalid dependency info");
    // A catalogue has tens of thousands of entries, so they are parsed without splitting.
    const QLatin1Char colon(':');
    const int idEnd = entry.indexOf(colon);
    if (idEnd < 0)
        return {entry.toInt(), QString()};
    const int versionEnd = entry.indexOf(colon, idEnd + 1);
    const int length = versionEnd < 0 ? -1 : versionEnd - idEnd - 1;
    return {entry.leftRef(idEnd).toInt(), entry.mid(idEnd + 1, length)};
}

bool DependencyEntry::isMetBy(const QString &version) const
{
    return compareVersions(version, requiredVersion) >= 0;
}

} // namespace Kavo::Models
