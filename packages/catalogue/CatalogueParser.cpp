#include "packages/catalogue/CatalogueParser.h"

#include "packages/model/ByteCount.h"

#include <QJsonArray>
#include <QJsonObject>

namespace Kavo::Models {

namespace {

QString text(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toString();
}

QStringList texts(const QJsonObject &object, const char *key)
{
    const QJsonArray array = object.value(QLatin1String(key)).toArray();
    QStringList list;
    list.reserve(array.size());
    for (const QJsonValue &value : array)
        list.append(value.toString());
    return list;
}

QString localised(const QJsonObject &object, const char *key, const QString &language)
{
    const QJsonObject translations = object.value(QLatin1String(key)).toObject();
    const auto found = translations.constFind(language);
    if (found != translations.constEnd())
        return found.value().toString();
    return translations.value(QLatin1String("en")).toString();
}

/// A number of bytes; nothing for any other value.
std::optional<qint64> byteCount(const QJsonObject &object, const char *key)
{
    const double number = object.value(QLatin1String(key)).toDouble(-1);
    return isByteCount(number) ? std::make_optional(static_cast<qint64>(number)) : std::nullopt;
}

PackageVersionPointer readVersion(const QJsonObject &object)
{
    auto version = PackageVersionPointer::create();
    version->version = text(object, "version");
    version->link = text(object, "link");
    version->size = byteCount(object, "size");
    version->sha256 = text(object, "sha256");
    version->depends = texts(object, "depends");
    version->log = texts(object, "log");

    const QJsonObject install = object.value(QLatin1String("install")).toObject();
    version->install->extract = text(install, "extract");
    version->install->preserve = texts(install, "preserve");
    version->install->backup = texts(install, "backup");

    const QJsonObject uninstall = object.value(QLatin1String("uninstall")).toObject();
    version->uninstall->remove = texts(uninstall, "remove");
    return version;
}

QVector<PackageVersionPointer> readVersions(const QJsonArray &array)
{
    QVector<PackageVersionPointer> versions;
    versions.reserve(array.size());
    for (const QJsonValue &value : array)
        versions.append(readVersion(value.toObject()));
    sortNewestFirst(versions);
    return versions;
}

PackagePointer readPackage(const QJsonObject &object, const QString &language)
{
    auto package = PackagePointer::create();
    package->setName(localised(object, "name", language));
    // Fixed, see docs/compatibility.md.
    package->setId(object.value(QLatin1String("id")).toInt());
    package->setState(Package::AVAILABLE);
    package->setIcon(text(object, "icon"));
    package->setDescription(localised(object, "description", language));
    package->setType(text(object, "type"));
    package->setShortDescription(localised(object, "short_description", language));
    package->setManualUrl(text(object, "manual_url"));
    package->setHelpUrl(text(object, "help_url"));
    package->setBanner(texts(object, "banner"));
    package->setVersions(readVersions(object.value(QLatin1String("versions")).toArray()));
    package->setProductId(object.value(QLatin1String("product_id")).toInt());
    return package;
}

} // namespace

CatalogueParser::CatalogueParser(const QByteArray &bytes, const QString &language)
    : m_elements(bytes)
    , m_language(language)
{}

PackagePointer CatalogueParser::next()
{
    const std::optional<QJsonValue> element = m_elements.next();
    return element ? readPackage(element->toObject(), m_language) : PackagePointer();
}

PackageList parseCatalogue(const QByteArray &bytes, const QString &language)
{
    CatalogueParser parser(bytes, language);
    PackageList packages;
    while (const PackagePointer package = parser.next())
        packages.append(package);
    return parser.isWhole() ? packages : PackageList();
}

} // namespace Kavo::Models
