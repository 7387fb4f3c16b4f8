#include "tools/check/ClientVersion.h"

#include "core/ContainedPath.h"
#include "packages/catalogue/CatalogueParser.h"
#include "packages/installation/CommonPlaces.h"
#include "packages/installation/PackageFiles.h"

#include <utility>

namespace Kavo::Tools {

namespace {

/// A stand-in for the simulator's folder. It cannot contain anything, so no file of this machine
/// influences the result.
const QString &nowhere()
{
    static const QString folder = QStringLiteral("/dev/null/simulator");
    return folder;
}

QString inSimulator(const QString &path)
{
    return path.mid(nowhere().size() + 1);
}

} // namespace

ClientVersion::ClientVersion(const QByteArray &document, const VersionView &view)
    : m_version(Models::PackageVersionPointer::create())
{
    const JsonNode &node = *view.node;
    const QByteArray package =
        "[{\"versions\":[" + document.mid(node.start, node.end - node.start) + "]}]";
    for (const Models::PackagePointer &read : Models::parseCatalogue(package, QString())) {
        if (!read->versions().isEmpty())
            m_version = read->versions().constFirst();
    }
}

ClientVersion::ClientVersion(Models::PackageVersionPointer version) : m_version(std::move(version))
{}

std::optional<QString> ClientVersion::extractFolder() const
{
    const Models::PackageFiles files({nowhere(), QString(), QString()}, *m_version);
    const QString folder = files.extractFolder();
    return folder.isEmpty() ? std::nullopt : std::make_optional(inSimulator(folder));
}

QString ClientVersion::pathOf(const QString &entry)
{
    return inSimulator(containedPath(nowhere(), entry));
}

QString ClientVersion::placeOf(const QString &entry)
{
    const QString path = pathOf(entry);
    return commonPlaces().contains(path, Qt::CaseInsensitive) ? QString() : path;
}

QStringList ClientVersion::placesIn(const QStringList &entries)
{
    QStringList places;
    for (const QString &entry : entries) {
        const QString place = placeOf(entry);
        if (!place.isEmpty())
            places.append(place);
    }
    return places;
}

QStringList ClientVersion::placesIn(const JsonNode *list)
{
    QStringList entries;
    for (const JsonNode &node : JsonChildren(list))
        entries.append(node.text());
    return placesIn(entries);
}

} // namespace Kavo::Tools
