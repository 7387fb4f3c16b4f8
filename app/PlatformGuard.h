#pragma once

namespace Kavo {

/// Watches over the construction of the application object: where Qt finds no display to draw on,
/// it would end the process by abort() and advise to reinstall the program. With the guard the
/// process ends with one line on standard error and ExitStatus.
///
/// Qt's own choice of a platform decides (its variables, its options, the session), not a guess at
/// it. What else Qt says meanwhile is held back and comes out when the guard goes. Main thread, one
/// at a time, and only until the application object is there.
class PlatformGuard final
{
public:
    static constexpr int ExitStatus = 2;

    PlatformGuard();
    ~PlatformGuard();
    PlatformGuard(const PlatformGuard &) = delete;
    PlatformGuard &operator=(const PlatformGuard &) = delete;
};

} // namespace Kavo
