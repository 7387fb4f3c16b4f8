#include "packages/installation/CommonPlaces.h"

#include "core/Installation.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace Kavo {

QStringList commonPlaces()
{
    return {simulatorExecutable(),
            QStringLiteral("Aircraft"),
            QStringLiteral("Airfoils"),
            QStringLiteral("Custom Data"),
            QStringLiteral("Custom Scenery"),
            QStringLiteral("Global Scenery"),
            QStringLiteral("Instructions"),
            QStringLiteral("Output"),
            QStringLiteral("Resources"),
            QStringLiteral("Resources/plugins"),
            QStringLiteral("Weapons")};
}

bool isCommonPlace(const QString &installation, const QString &path)
{
    const QString folder = QDir(installation).absolutePath() + QLatin1Char('/');
    const QFileInfo info(path);
    const QString target = info.isSymLink() ? QString() : info.canonicalFilePath();
    const QStringList places = commonPlaces();
    return std::any_of(places.cbegin(), places.cend(), [&](const QString &place) {
        // Catalogues are made on systems whose file names ignore case.
        return path.compare(folder + place, Qt::CaseInsensitive) == 0 ||
               (!target.isEmpty() && target == QFileInfo(folder + place).canonicalFilePath());
    });
}

} // namespace Kavo
