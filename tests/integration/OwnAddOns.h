#pragma once

#include "tests/integration/AddOns.h"
#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// Sizes of add-ons. Larger files make every phase of an installation longer.
struct AddOnSizes
{
    int archiveFiles; ///< number of small files in an archive
    int archiveBytes; ///< of one file that cannot be compressed, in each archive
    int ownBytes;     ///< of each file that is kept or backed up
};

/// Puts three add-ons on the server of the engine, with every kind of rule, each in the versions
/// 1.0 and 2.0: a library (2); a plug-in (10) that needs it, keeps two files of the user's and
/// replaces two of the simulator's; and a scenery (11) that keeps one file of the user's. The same
/// seed gives the same archives.
AddOns offerOwnAddOns(Engine &engine, const AddOnSizes &sizes, quint32 seed);

} // namespace Kavo::Testing
