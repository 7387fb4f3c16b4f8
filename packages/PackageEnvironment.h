#pragma once

#include <QString>

namespace Kavo {

/// What package management uses of the world outside.
struct PackageEnvironment
{
    QString catalogueServer; ///< serves "packages.json" at its root
    QString extractor;       ///< path of the 7-Zip program

    /// The server the program was built for and the system's 7-Zip.
    static PackageEnvironment standard();
};

} // namespace Kavo
