#include "packages/CatalogueLoader.h"

#include "packages/CatalogueParser.h"

#include <QFile>

namespace Kavo::Models {

PackageList loadCatalogue(const QString &path, const QString &language,
                          InstalledPackageDatabase &database)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const PackageList packages = parseCatalogue(file.readAll(), language);
    file.close();
    database.markInstalled(packages);
    return packages;
}

} // namespace Kavo::Models
