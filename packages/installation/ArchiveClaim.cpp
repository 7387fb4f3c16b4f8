#include "packages/installation/ArchiveClaim.h"

#include <utility>

namespace Kavo::Models {

ArchiveClaim::ArchiveClaim(QSharedPointer<ArchiveClaims> claims, QString archive)
    : m_claims(std::move(claims))
    , m_archive(std::move(archive))
{
    m_claims->claim(m_archive);
}

ArchiveClaim::~ArchiveClaim()
{
    if (m_claims)
        m_claims->release(m_archive);
}

ArchiveClaim::ArchiveClaim(ArchiveClaim &&other) noexcept
{
    *this = std::move(other);
}

ArchiveClaim &ArchiveClaim::operator=(ArchiveClaim &&other) noexcept
{
    m_claims.swap(other.m_claims);
    m_archive.swap(other.m_archive);
    // Otherwise the other object would hold this claim until it is destroyed.
    if (other.m_claims)
        std::exchange(other.m_claims, nullptr)->release(std::exchange(other.m_archive, QString()));
    return *this;
}

void ArchiveClaim::deleteArchive()
{
    if (m_claims)
        std::exchange(m_claims, nullptr)->releaseAndDelete(std::exchange(m_archive, QString()));
}

} // namespace Kavo::Models
