#pragma once

#include <QtGlobal>

namespace Kavo::Tools {

/// Takes note of the signals that ask the program to end, as long as it lives, so that what is
/// begun can be cleared up first. Signals that are ignored stay ignored. One at a time.
class EndRequest final
{
public:
    EndRequest();
    ~EndRequest();
    Q_DISABLE_COPY_MOVE(EndRequest)

    /// The signal that has come, 0 when none has.
    static int signal();
};

} // namespace Kavo::Tools
