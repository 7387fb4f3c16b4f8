#include "downloads/TransferRate.h"

#include <cmath>

namespace Kavo::Managers {

namespace {

/// Milliseconds after which an observation has lost most of its weight.
constexpr double Memory = 15000;
/// Milliseconds of observation before the rate is reliable.
constexpr double EnoughTime = 2000;
constexpr qint64 SilentAfter = 10000;
constexpr double MillisecondsOfADay = 24 * 60 * 60 * 1000.0;

double fading(qint64 elapsed)
{
    return std::exp(-static_cast<double>(elapsed) / Memory);
}

} // namespace

void TransferRate::add(qint64 size, qint64 now)
{
    if (!m_size || size < *m_size || (size > *m_size && isSilent(now))) {
        measureAnew(size, now);
        return;
    }
    if (size == *m_size)
        return;
    const qint64 elapsed = now - m_heard;
    m_bytes = m_bytes * fading(elapsed) + static_cast<double>(size - *m_size);
    m_time = m_time * fading(elapsed) + static_cast<double>(elapsed);
    m_size = size;
    m_heard = now;
}

bool TransferRate::isSilent(qint64 now) const
{
    return now - m_heard >= SilentAfter;
}

std::optional<qint64> TransferRate::secondsLeft(qint64 total, qint64 now) const
{
    if (total <= 0 || !m_size || *m_size > total || m_time < EnoughTime || isSilent(now))
        return {};
    const qint64 elapsed = now - m_heard;
    const double bytes = m_bytes * fading(elapsed);
    const double time = m_time * fading(elapsed) + static_cast<double>(elapsed);
    const double left = static_cast<double>(total - *m_size) * time / bytes;
    if (left > MillisecondsOfADay)
        return {};
    return std::llround(left / 1000);
}

void TransferRate::measureAnew(qint64 size, qint64 now)
{
    m_size = size;
    m_heard = now;
    m_bytes = 0;
    m_time = 0;
}

} // namespace Kavo::Managers
