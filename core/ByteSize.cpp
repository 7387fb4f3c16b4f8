#include "core/ByteSize.h"

#include <QStringList>

namespace Kavo {

QString formatByteSize(qint64 bytes)
{
    // Fixed, see docs/compatibility.md.
    const QStringList units{QStringLiteral("Bytes"), QStringLiteral("KB"), QStringLiteral("MB"),
                            QStringLiteral("GB"),    QStringLiteral("TB"), QStringLiteral("PB")};
    auto value = static_cast<double>(bytes);
    int unit = 0;
    while (value >= 1024 && unit < units.size() - 1) {
        value /= 1024;
        ++unit;
    }
    return QStringLiteral("%0 %1").arg(QString::number(value, 'f', 2), units.at(unit));
}

} // namespace Kavo
