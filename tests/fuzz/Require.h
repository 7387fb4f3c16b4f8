#pragma once

#include <cstdio>
#include <cstdlib>

namespace Kavo::Testing {

/// Ends the process when a promise is broken, which is what a fuzzer looks for.
inline void require(bool kept, const char *promise)
{
    if (kept)
        return;
    std::fprintf(stderr, "Broken: %s\n", promise);
    std::abort();
}

} // namespace Kavo::Testing
