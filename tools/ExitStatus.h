#pragma once

namespace Kavo::Tools {

/// How a command of the program ends, for the shell.
enum ExitStatus : int {
    CLEAN = 0,
    WARNINGS = 1,
    ERRORS = 2,
    NOT_READ = 3, ///< what the command is about could not be read or written
    USAGE = 64,   ///< the command line is not understood
};

} // namespace Kavo::Tools
