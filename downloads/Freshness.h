#pragma once

#include <QDateTime>

class QNetworkReply;

namespace Kavo::Managers {

/// What the head of an answer says of how long its body may be used.
class Freshness final
{
public:
    /// An answer that came just now.
    explicit Freshness(const QNetworkReply &answer);

    /// Whether the server lets it be kept, and tells something by which it can be asked again or
    /// a time in which it need not be. A file that has changed just now is not kept: another
    /// change in the same second could not be told from it.
    bool mayBeKept() const { return m_mayBeKept; }
    /// Until when the server need not be asked; not valid when it is to be asked each time.
    QDateTime expiration() const { return m_expiration; }

private:
    bool m_mayBeKept = false;
    QDateTime m_expiration;
};

} // namespace Kavo::Managers
