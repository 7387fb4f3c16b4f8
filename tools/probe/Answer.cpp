#include "tools/probe/Answer.h"

#include "core/ByteSize.h"

namespace Kavo::Tools {

QString Answer::summary() const
{
    switch (end) {
    case End::Silent:
        return status == 0 ? QStringLiteral("no answer in time")
                           : QStringLiteral("silence after %1").arg(formatByteSize(bodySize));
    case End::NotAsked:
        return QStringLiteral("not asked: the server was silent before");
    case End::Failed:
        return status == 0 || isLost ? fault : QString::number(status);
    case End::Cut:
        return QStringLiteral("%1, cut after %2").arg(status).arg(formatByteSize(bodySize));
    case End::Whole:
    case End::Enough:
        break;
    }
    return QString::number(status);
}

} // namespace Kavo::Tools
