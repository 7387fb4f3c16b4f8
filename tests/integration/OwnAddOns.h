#pragma once

#include "tests/integration/AddOns.h"
#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// Sizes of add-ons. Larger files make every phase of an installation longer.
struct AddOnSizes
{
    int archiveFiles; ///< number of small files in each archive
    int archiveBytes; ///< size of the incompressible file in each archive
    int ownBytes;     ///< size of each file that is preserved or backed up
};

/// Puts three add-ons with every kind of rule on the engine's server, each in the versions 1.0 and
/// 2.0: a library (2); a plug-in (10) that depends on it, preserves two files of the user and
/// replaces two files of the simulator; and a scenery (11) that preserves one file of the user. The
/// same seed gives the same archives.
AddOns offerOwnAddOns(Engine &engine, const AddOnSizes &sizes, quint32 seed);

} // namespace Kavo::Testing
