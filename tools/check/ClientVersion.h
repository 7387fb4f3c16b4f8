#pragma once

#include "packages/model/PackageVersion.h"
#include "tools/check/CatalogueView.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Kavo::Tools {

/// A version of a catalogue as the clients' engine sees it. Paths are relative to the simulator's
/// folder.
class ClientVersion final
{
public:
    /// `document` is the catalogue of the view.
    ClientVersion(const QByteArray &document, const VersionView &view);
    /// For a version that was parsed before.
    explicit ClientVersion(Models::PackageVersionPointer version);

    const Models::PackageVersionPointer &version() const { return m_version; }

    /// The folder to unpack into, empty for the simulator's own; nothing if clients refuse it.
    std::optional<QString> extractFolder() const;

    /// The clean path of an entry, empty if the entry is no path below the simulator's folder.
    static QString pathOf(const QString &entry);
    /// The path that an entry of a rule refers to, empty if clients skip the entry.
    static QString placeOf(const QString &entry);
    /// The paths of a list, without the entries that clients skip.
    static QStringList placesIn(const QStringList &entries);
    static QStringList placesIn(const JsonNode *list);

private:
    Models::PackageVersionPointer m_version;
};

} // namespace Kavo::Tools
