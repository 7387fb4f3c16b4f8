#include "tools/check/VersionNumber.h"

#include <QRegularExpression>

namespace Kavo::Tools {

VersionNumber readVersionNumber(const QString &text)
{
    // Qt's overload that returns this position is declared as a function without side effects, so
    // an optimising compiler may keep the old value of the position.
    VersionNumber read{QVersionNumber::fromString(text)};
    if (read.number.isNull())
        return read;
    if (read.number.toString() == text) {
        read.end = text.size();
        return read;
    }
    // Skips as many numbers as Qt has found, each in Qt's notation.
    const QString one = QStringLiteral("\\s*\\+?[0-9]+");
    const QRegularExpression numbers(
        QStringLiteral("\\A%1(?:\\.%1){%2}")
            .arg(one, QString::number(read.number.segmentCount() - 1)));
    read.end = numbers.match(text).capturedLength();
    return read;
}

} // namespace Kavo::Tools
