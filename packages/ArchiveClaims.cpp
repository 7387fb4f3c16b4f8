#include "packages/ArchiveClaims.h"

#include <QFile>

namespace Kavo::Models {

void ArchiveClaims::claim(const QString &archive)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_claims[archive];
}

void ArchiveClaims::release(const QString &archive)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (--m_claims[archive] <= 0)
        m_claims.remove(archive);
}

void ArchiveClaims::removeUnlessShared(const QString &archive)
{
    // The lock is held over the removal, so that nobody can lay a claim on a file that is going.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_claims.value(archive) <= 1)
        QFile::remove(archive);
}

} // namespace Kavo::Models
