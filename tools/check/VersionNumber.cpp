#include "tools/check/VersionNumber.h"

#include <QRegularExpression>

namespace Kavo::Tools {

VersionNumber readVersionNumber(const QString &text)
{
    // Qt would tell the end as well. But it declares the function as one that writes nothing, and
    // where the compiler optimises, the end is what it was before the call.
    VersionNumber read{QVersionNumber::fromString(text)};
    if (read.number.isNull())
        return read;
    if (read.number.toString() == text) {
        read.end = text.size();
        return read;
    }
    // As many numbers as Qt has found, each in what it takes for one.
    const QString one = QStringLiteral("\\s*\\+?[0-9]+");
    const QRegularExpression numbers(
        QStringLiteral("\\A%1(?:\\.%1){%2}")
            .arg(one, QString::number(read.number.segmentCount() - 1)));
    read.end = numbers.match(text).capturedLength();
    return read;
}

} // namespace Kavo::Tools
