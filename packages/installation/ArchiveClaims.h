#pragma once

#include <QHash>
#include <QString>

#include <mutex>

namespace Kavo::Models {

/// Counts the claims on downloaded archives. Several packages may share one address and so one
/// file; the last one deletes it. Used through ArchiveClaim only. May be called on any thread.
class ArchiveClaims final
{
private:
    friend class ArchiveClaim;

    void claim(const QString &archive);
    void release(const QString &archive);
    /// Releases a claim, and deletes the file if it was the last one.
    void releaseAndDelete(const QString &archive);
    bool dropOne(const QString &archive);

    /// Not QMutex: ThreadSanitizer recognises this one even under contention.
    std::mutex m_mutex;
    QHash<QString, int> m_claims;
};

} // namespace Kavo::Models
