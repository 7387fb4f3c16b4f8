#pragma once

#include <QHash>
#include <QString>

#include <mutex>

namespace Kavo::Models {

/// Counts who still needs a downloaded archive. Several packages may share one address and so one
/// file; the last one deletes it. Asked through ArchiveClaim only. Callable from any thread.
class ArchiveClaims final
{
private:
    friend class ArchiveClaim;

    void claim(const QString &archive);
    void release(const QString &archive);
    /// Releases, and deletes the file if that was the last claim on it.
    void releaseAndDelete(const QString &archive);
    bool dropOne(const QString &archive);

    /// Not Qt's: ThreadSanitizer sees this one also when two threads meet at it.
    std::mutex m_mutex;
    QHash<QString, int> m_claims;
};

} // namespace Kavo::Models
