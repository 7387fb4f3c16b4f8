#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

#include <QByteArray>

#include <functional>

namespace Kavo::Tools {

/// Further checks beyond the catalogue itself, which add their findings. The nodes refer to the
/// bytes.
using FurtherCheck = std::function<void(const QByteArray &, const CatalogueView &, Findings &)>;

/// Checks a catalogue without its archives: its notation, its values, and the relations between
/// packages and versions. Uses no file, unless `further` does. May be called on any thread.
CheckReport checkCatalogue(const QByteArray &bytes, const FurtherCheck &further = {});

/// The report for a catalogue that is too large to be read.
CheckReport reportOfTooLarge(qint64 size);

} // namespace Kavo::Tools
