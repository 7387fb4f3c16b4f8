// Determines the dependents and the dependencies of every package of a catalogue, half of which is
// installed. Prints the nanoseconds for one package, on average over 20,000 of them.
//
//     bench_dependencies WORK_FOLDER ADDRESS PACKAGES

#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "benchmarks/MeasuredEngine.h"

#include <QCoreApplication>
#include <QTextStream>

using namespace Kavo;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(3);
    const QString &address = arguments.at(2);
    const int count = arguments.at(3).toInt();

    Benchmarks::MeasuredEngine engine(arguments.at(1), address);
    engine.serveCatalogue(Benchmarks::makeCatalogue(count, address));
    engine.refresh();
    QVector<int> installed;
    for (int id = 1; id <= count; id += 2)
        installed.append(id);
    engine.markInstalled(installed, Benchmarks::newestVersion());

    const Controllers::PackageController &controller = engine.controller();
    const int rounds = 20000 / count;
    int found = 0;
    qint64 duration = 0;
    for (int round = 0; round < rounds; ++round) {
        // A refresh before each measurement makes new packages, as in the program. Otherwise a
        // small catalogue would still be in the processor's cache, which has no room for a large
        // one.
        engine.refresh();
        duration += Benchmarks::timed([&] {
            for (const Models::PackagePointer &package : controller.packages()) {
                found += controller.dependents(package, QString()).size();
                found += controller.resolvedDependencies(package, QString()).size();
            }
        });
    }
    Benchmarks::require(found > rounds * count, "the answers are empty");
    QTextStream(stdout) << duration * 1000 / (rounds * count) << '\n';
    return 0;
}
