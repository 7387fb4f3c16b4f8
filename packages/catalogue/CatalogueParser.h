#pragma once

#include "packages/catalogue/JsonElements.h"
#include "packages/model/Package.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Models {

/// Reads a catalogue file, one package after another: a JSON array of package objects, texts in the
/// given language or else in English. Every package comes out AVAILABLE with its versions newest
/// first.
///
/// Whatever is missing or of another type reads as an empty text, 0 or an empty list; an element
/// that is no object gives a package of defaults. Touches no file and no network; for one thread at
/// a time.
class CatalogueParser final
{
public:
    CatalogueParser(const QByteArray &bytes, const QString &language);

    /// Null at the end and at a fault.
    PackagePointer next();
    /// Whether all of it was a catalogue, once next() has given null.
    bool isWhole() const { return m_elements.isWhole(); }

private:
    JsonElements m_elements;
    QString m_language;
};

/// All packages of a catalogue file; none when it is no array to its end.
PackageList parseCatalogue(const QByteArray &bytes, const QString &language);

} // namespace Kavo::Models
