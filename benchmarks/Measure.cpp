#include "benchmarks/Measure.h"

#include <QCoreApplication>
#include <QTextStream>

namespace Kavo::Benchmarks {

void printPair(qint64 ours, qint64 reference)
{
    QTextStream(stdout) << ours << ' ' << reference << '\n';
}

QStringList requireArguments(int count)
{
    const QStringList arguments = QCoreApplication::arguments();
    require(arguments.size() == count + 1, "wrong arguments");
    return arguments;
}

void require(bool done, const char *what)
{
    if (!done)
        qFatal("Not measured: %s", what);
}

} // namespace Kavo::Benchmarks
