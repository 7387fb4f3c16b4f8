#pragma once

#include <QHash>
#include <QMutex>
#include <QString>

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
    QMutex m_mutex;
    QHash<QString, int> m_claims;
};

} // namespace Kavo::Models
