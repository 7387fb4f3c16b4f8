#include "packages/CatalogueLoader.h"

#include "core/RegularFile.h"
#include "packages/CatalogueParser.h"

#include <QFile>

namespace Kavo::Models {

PackageList loadCatalogue(const QString &path, const QString &language,
                          InstalledPackageDatabase &database, const QSet<int> &concerned)
{
    QFile file(path);
    if (!openRegular(file, QIODevice::ReadOnly))
        return {};
    const PackageList packages = parseCatalogue(file.readAll(), language);
    file.close();
    database.markInstalled(packages, concerned);
    return packages;
}

} // namespace Kavo::Models
