#pragma once

namespace Kavo::Tools {

/// The severity of a finding, the lowest first.
enum class Severity {
    NOTE,    ///< worth knowing
    WARNING, ///< works, but probably not as intended
    ERROR,   ///< harms users
};

} // namespace Kavo::Tools
