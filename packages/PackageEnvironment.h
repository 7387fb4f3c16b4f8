#pragma once

#include "core/Clock.h"

#include <QString>

namespace Kavo {

/// The external resources that package management uses.
struct PackageEnvironment
{
    QString catalogueServer; ///< serves "packages.json" at its root
    QString extractor;       ///< path of the 7-Zip program
    Clock clock = steadyClock();

    /// The server that the program was built for, and the system's 7-Zip and clock.
    static PackageEnvironment standard();
};

} // namespace Kavo
