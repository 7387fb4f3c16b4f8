#pragma once

#include "packages/model/Package.h"

#include <functional>

namespace Kavo::Models {

/// The neighbours of a package in a catalogue, such as its dependencies.
using NeighboursOf = std::function<PackageList(const PackagePointer &package)>;

/// The package and everything that is reached from it, each once and after its neighbours. Circles
/// are cut where they close. The depth of a chain is limited by memory only.
PackageList neighboursFirst(const PackagePointer &package, const NeighboursOf &neighboursOf);

} // namespace Kavo::Models
