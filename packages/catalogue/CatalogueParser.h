#pragma once

#include "packages/catalogue/JsonElements.h"
#include "packages/model/Package.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Models {

/// Parses a catalogue file, one package at a time: a JSON array of package objects, with texts in
/// the given language or else in English. Every package is AVAILABLE with its versions newest
/// first.
///
/// A value that is missing or of another type reads as an empty text, 0 or an empty list; an
/// element that is not an object becomes a package of defaults. Uses no file and no network. To be
/// used by one thread at a time.
class CatalogueParser final
{
public:
    CatalogueParser(const QByteArray &bytes, const QString &language);

    /// Returns the next package; null after the last one and after an error.
    PackagePointer next();
    /// Whether the whole file was a catalogue. Valid after next() has returned null.
    bool isWhole() const { return m_elements.isWhole(); }

private:
    JsonElements m_elements;
    QString m_language;
};

/// All packages of a catalogue file; none unless it is a well-formed array.
PackageList parseCatalogue(const QByteArray &bytes, const QString &language);

} // namespace Kavo::Models
