#pragma once

#include <QtGlobal>

#include <optional>

namespace Kavo::Managers {

/// The speed at which a file grows, smoothed over the last 15 seconds, and the remaining time. A
/// value class. The caller passes the time in milliseconds of any monotonic clock; sizes are in
/// bytes.
///
/// Only observed growth counts, neither bytes that were there before the transfer began nor the
/// rest of a file that starts over. A pause lowers the rate at first; after a silence the rate is
/// measured anew.
class TransferRate final
{
public:
    explicit TransferRate(qint64 now) : m_heard(now) {}

    /// Records the present size of the file.
    void add(qint64 size, qint64 now);

    /// Whether no bytes have arrived for ten seconds.
    bool isSilent(qint64 now) const;

    /// The remaining time; nothing if it cannot be estimated: without a total size, before enough
    /// was observed, during a silence, and if it exceeds a day.
    std::optional<qint64> secondsLeft(qint64 total, qint64 now) const;

private:
    void measureAnew(qint64 size, qint64 now);

    std::optional<qint64> m_size;
    qint64 m_heard; ///< when the last bytes arrived, or the measurement began
    /// Received bytes and the time they took; both decay over time.
    double m_bytes = 0;
    double m_time = 0;
};

} // namespace Kavo::Managers
