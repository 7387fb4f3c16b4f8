#pragma once

namespace Kavo::Tools {

/// The exit statuses of commands.
enum ExitStatus : int {
    CLEAN = 0,
    WARNINGS = 1,
    ERRORS = 2,
    NOT_READ = 3, ///< the file could not be read or written
    USAGE = 64,   ///< the command line is wrong
};

} // namespace Kavo::Tools
