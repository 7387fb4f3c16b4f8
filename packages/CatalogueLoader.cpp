#include "packages/CatalogueLoader.h"

#include "packages/CatalogueParser.h"

#include <QFile>

namespace Kavo::Models {

namespace {

void markInstalled(Package &package, InstalledPackageDatabase &database)
{
    if (database.status(package) != Package::INSTALLED)
        return;
    package.setState(Package::INSTALLED);
    package.setUpdateAvailable(isOutdated(database.version(package), package.newestVersion()));
}

} // namespace

PackageList loadCatalogue(const QString &path, const QString &language,
                          InstalledPackageDatabase &database)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const PackageList packages = parseCatalogue(file.readAll(), language);
    file.close();
    for (const PackagePointer &package : packages)
        markInstalled(*package, database);
    return packages;
}

} // namespace Kavo::Models
