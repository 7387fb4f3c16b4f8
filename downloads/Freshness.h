#pragma once

#include <QDateTime>

class QNetworkReply;

namespace Kavo::Managers {

/// How long the body of an answer may be used, according to its headers.
class Freshness final
{
public:
    /// For an answer that has just arrived.
    explicit Freshness(const QNetworkReply &answer);

    /// Whether the server allows the answer to be kept and sends something to revalidate it by, or
    /// an expiration time. An answer whose file has just changed is not kept: another change in the
    /// same second would have the same date.
    bool mayBeKept() const { return m_mayBeKept; }
    /// The time until which the server need not be asked; invalid if it has to be asked each time.
    QDateTime expiration() const { return m_expiration; }

private:
    bool m_mayBeKept = false;
    QDateTime m_expiration;
};

} // namespace Kavo::Managers
