#pragma once

#include <QtGlobal>

namespace Kavo::Tools {

/// Records the signals that ask the program to end during its lifetime, so that the program can
/// clean up first. Ignored signals stay ignored. One at a time.
class EndRequest final
{
public:
    EndRequest();
    ~EndRequest();
    Q_DISABLE_COPY_MOVE(EndRequest)

    /// The signal that has arrived, 0 if there is none.
    static int signal();
};

} // namespace Kavo::Tools
