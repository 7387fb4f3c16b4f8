#pragma once

namespace Kavo::Testing {

/// Records which files this process renames after the construction, and whether they were flushed
/// to the disk. Every program that links to this file uses its replacements of the system's
/// functions rename() and fsync(). One object at a time, on one thread.
class SyncWitness final
{
public:
    SyncWitness();

    /// The number of renamed files.
    int renamed() const;
    /// The number of those whose whole content was flushed before they were renamed.
    int syncedBefore() const;
    /// The number of those whose folder was flushed after they were renamed.
    int syncedAfter() const;
};

} // namespace Kavo::Testing
