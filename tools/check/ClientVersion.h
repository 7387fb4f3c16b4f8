#pragma once

#include "packages/model/PackageVersion.h"
#include "tools/check/CatalogueView.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Kavo::Tools {

/// A version of a catalogue as the engine of clients has it. Its paths are told from the
/// simulator's folder on.
class ClientVersion final
{
public:
    /// `document` is the catalogue that the view is of.
    ClientVersion(const QByteArray &document, const VersionView &view);
    /// One that was read before.
    explicit ClientVersion(Models::PackageVersionPointer version);

    const Models::PackageVersionPointer &version() const { return m_version; }

    /// The folder to unpack into, empty for the simulator's own; nothing when clients refuse it.
    std::optional<QString> extractFolder() const;

    /// Where an entry of a rule leads, empty when clients skip it.
    static QString placeOf(const QString &entry);
    /// The places of a list, without the entries that clients skip.
    static QStringList placesIn(const JsonNode *list);

private:
    Models::PackageVersionPointer m_version;
};

} // namespace Kavo::Tools
