#pragma once

#include "packages/model/Package.h"

#include <functional>

namespace Kavo::Models {

/// The neighbours of a package in a catalogue, such as its dependencies.
using NeighboursOf = std::function<PackageList(const PackagePointer &package)>;

/// Returns the package and everything that can be reached from it, each once and after its
/// neighbours. A circle is cut where it closes. Only memory limits the depth of a chain.
PackageList neighboursFirst(const PackagePointer &package, const NeighboursOf &neighboursOf);

} // namespace Kavo::Models
