#pragma once

#include "packages/Package.h"

#include <QByteArray>
#include <QString>

namespace Kavo::Models {

/// Reads a catalogue file: a JSON array of package objects, texts in the given language or else in
/// English. Every package comes out AVAILABLE with its versions newest first.
///
/// Whatever is missing or of another type reads as an empty text, 0 or an empty list; an element
/// that is no object gives a package of defaults; a document that is no array gives no packages.
/// Touches no file and no network; callable from any thread.
PackageList parseCatalogue(const QByteArray &bytes, const QString &language);

} // namespace Kavo::Models
