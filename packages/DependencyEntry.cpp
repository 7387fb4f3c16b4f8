#include "packages/DependencyEntry.h"

#include "packages/PackageVersion.h"

#include <QStringList>

namespace Kavo::Models {

DependencyEntry DependencyEntry::parse(const QString &entry)
{
    if (entry.isEmpty())
        qFatal("Invalid dependency info");
    const QStringList parts = entry.split(QLatin1Char(':'), Qt::KeepEmptyParts);
    return {parts.first().toInt(), parts.value(1)};
}

bool DependencyEntry::isMetBy(const QString &version) const
{
    return compareVersions(version, requiredVersion) >= 0;
}

} // namespace Kavo::Models
