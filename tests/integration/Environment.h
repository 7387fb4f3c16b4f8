#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QtGlobal>

#include <cstdio>

namespace Kavo::Testing {

/// The number in an environment variable, or `otherwise` if it contains none.
inline int numberFrom(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

/// The seed in an environment variable, or a random one. Prints the assignment that repeats the
/// run.
inline quint32 seedFrom(const char *variable)
{
    const QByteArray text = qgetenv(variable);
    const quint32 seed = text.isEmpty() ? QRandomGenerator::system()->generate() : text.toUInt();
    std::printf("%s=%u\n", variable, seed);
    return seed;
}

} // namespace Kavo::Testing
