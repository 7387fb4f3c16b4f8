#pragma once

namespace Kavo {

/// Guards the construction of the application object. Without a display Qt would call abort() and
/// advise reinstalling the program. With the guard the process ends with one line on standard error
/// and ExitStatus.
///
/// Qt itself chooses the platform by its variables, its options and the session; the guard does not
/// guess. Other messages of Qt are held back until the guard is destroyed. Main thread, one at a
/// time, and only until the application object exists.
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
