#include "packages/PackageEnvironment.h"

namespace Kavo {

PackageEnvironment PackageEnvironment::standard()
{
    return {QStringLiteral(KAVO_CATALOGUE_URL), QStringLiteral("/usr/bin/7z"), steadyClock()};
}

} // namespace Kavo
