#pragma once

namespace Kavo::Testing {

/// Records how this process renames files from now on. It replaces the functions of the system that
/// rename and flush, in every program that links to it. One witness at a time, on one thread.
class SyncWitness final
{
public:
    SyncWitness();

    /// The number of renamed files.
    int renamed() const;
    /// The number of those whose whole content was on the disk before they were renamed.
    int syncedBefore() const;
    /// The number of those whose new name has been written to the disk since.
    int syncedAfter() const;
};

} // namespace Kavo::Testing
