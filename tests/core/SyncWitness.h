#pragma once

namespace Kavo::Testing {

/// Watches how this process renames files, from its creation on. The functions of the system that
/// do it are replaced in every program that links to this. One witness at a time, one thread.
class SyncWitness final
{
public:
    SyncWitness();

    /// Number of files that have got a new name.
    int renamed() const;
    /// Number of those whose content had reached the disk, all of it, before they got it.
    int syncedBefore() const;
    /// Number of those whose new name has reached the disk since.
    int syncedAfter() const;
};

} // namespace Kavo::Testing
