#pragma once

#include <QHash>
#include <QString>

#include <mutex>

namespace Kavo::Models {

/// Counts who still needs a downloaded archive. Several packages may share one address and so one
/// file; the last one deletes it. Callable from any thread.
class ArchiveClaims final
{
public:
    void claim(const QString &archive);
    void release(const QString &archive);

    /// Deletes the file if no more than one claim is left on it.
    void removeUnlessShared(const QString &archive);

private:
    /// Not Qt's: ThreadSanitizer sees this one also when two threads meet at it.
    std::mutex m_mutex;
    QHash<QString, int> m_claims;
};

} // namespace Kavo::Models
