#include "tools/Terminal.h"

#include <cstdio>

namespace Kavo::Tools {

void print(const QByteArray &text)
{
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
    std::fflush(stdout);
}

void complain(const QString &line)
{
    const QByteArray text = "kavo-catalogue: " + line.toUtf8() + '\n';
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stderr);
}

} // namespace Kavo::Tools
