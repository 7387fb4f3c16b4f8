#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

#include <QByteArray>

#include <functional>

namespace Kavo::Tools {

/// What looks at more than the catalogue itself, and adds what it finds. The bytes are those in
/// which the nodes stand.
using FurtherCheck = std::function<void(const QByteArray &, const CatalogueView &, Findings &)>;

/// Checks a catalogue by itself, without a look at its archives: the notation, every value, and
/// what packages and versions are to each other. Touches no file, unless `further` does. Callable
/// from any thread.
CheckReport checkCatalogue(const QByteArray &bytes, const FurtherCheck &further = {});

/// What there is to say of a catalogue of so many bytes, which are too many to be read.
CheckReport reportOfTooLarge(qint64 size);

} // namespace Kavo::Tools
