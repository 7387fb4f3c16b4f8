#include "packages/installation/ArchiveClaims.h"

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
    dropOne(archive);
}

void ArchiveClaims::releaseAndDelete(const QString &archive)
{
    // The lock is held during the deletion, so that nobody can claim a file that is being deleted.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (dropOne(archive))
        QFile::remove(archive);
}

/// Returns whether it was the last claim on this archive.
bool ArchiveClaims::dropOne(const QString &archive)
{
    const auto count = m_claims.find(archive);
    if (--*count > 0)
        return false;
    m_claims.erase(count);
    return true;
}

} // namespace Kavo::Models
