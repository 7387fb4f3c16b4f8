#pragma once

namespace Kavo::Tools {

/// How much a finding matters, the least first.
enum class Severity {
    NOTE,    ///< worth knowing
    WARNING, ///< works, but hardly as it is meant
    ERROR,   ///< costs users something
};

} // namespace Kavo::Tools
