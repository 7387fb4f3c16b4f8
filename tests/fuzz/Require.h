#pragma once

#include <cstdio>
#include <cstdlib>

namespace Kavo::Testing {

/// Prints the condition and aborts the process if it is not met. The fuzzer reports the abort with
/// its input.
inline void require(bool kept, const char *promise)
{
    if (kept)
        return;
    std::fprintf(stderr, "Broken: %s\n", promise);
    std::abort();
}

} // namespace Kavo::Testing
