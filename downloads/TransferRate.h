#pragma once

#include <QtGlobal>

#include <optional>

namespace Kavo::Managers {

/// How fast a file grows, smoothed over the last quarter of a minute, and how long the rest will
/// take. A value; the time is handed in, in milliseconds of any steady clock, sizes are bytes.
///
/// Only growth that was seen counts: neither what lay there when the transfer began, nor what is
/// left of a file that begins afresh. A pause counts as slowness at first; after a silence the rate
/// is measured anew.
class TransferRate final
{
public:
    explicit TransferRate(qint64 now) : m_heard(now) {}

    /// Takes notice of the size that the file has by now.
    void add(qint64 size, qint64 now);

    /// Whether nothing has come for ten seconds.
    bool isSilent(qint64 now) const;

    /// Nothing while there is no telling: without a total, before enough was seen, during a
    /// silence, and when it would take more than a day.
    std::optional<qint64> secondsLeft(qint64 total, qint64 now) const;

private:
    void measureAnew(qint64 size, qint64 now);

    std::optional<qint64> m_size;
    qint64 m_heard; ///< when the last byte came, or the measuring began
    /// What has come in which time; both fade away in the course of time.
    double m_bytes = 0;
    double m_time = 0;
};

} // namespace Kavo::Managers
