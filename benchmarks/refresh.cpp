// Refreshes with 14 % of the packages installed, measured from the bytes on disk to the list, and
// for comparison parses the same bytes, in turn. Prints one line for each pair, in microseconds. At
// the end it prints "held" and the longest time for which the event loop was blocked during PAIRS
// further refreshes, from the call of refresh() until the replaced packages are deleted.
//
//     bench_refresh WORK_FOLDER ADDRESS PACKAGES PAIRS

#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/LoopWatch.h"
#include "benchmarks/Measure.h"
#include "benchmarks/MeasuredEngine.h"
#include "packages/catalogue/CatalogueParser.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QWeakPointer>

using namespace Kavo;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(4);
    const QString &address = arguments.at(2);
    const int count = arguments.at(3).toInt();
    const QByteArray bytes = Benchmarks::makeCatalogue(count, address);

    Benchmarks::MeasuredEngine engine(arguments.at(1), address);
    engine.serveCatalogue(bytes);
    engine.refresh();
    QVector<int> installed;
    for (int number = 0; number < count * 5 / 36; ++number)
        installed.append(1 + number * 7);
    engine.markInstalled(installed, Benchmarks::newestVersion());

    for (int pair = -1; pair < arguments.at(4).toInt(); ++pair) {
        const qint64 ours = engine.refresh();
        Benchmarks::require(engine.controller().packages().size() == count &&
                                engine.package(installed.last())->state() ==
                                    Models::Package::INSTALLED,
                            "the list is not whole");
        Models::PackageList packages;
        const qint64 reference = Benchmarks::timed(
            [&] { packages = Models::parseCatalogue(bytes, QStringLiteral("de")); });
        if (pair >= 0)
            Benchmarks::printPair(ours, reference);
    }

    Benchmarks::LoopWatch watch;
    for (int round = 0; round < arguments.at(4).toInt(); ++round) {
        const QWeakPointer<Models::Package> before = engine.package(count);
        watch.begin();
        engine.refresh();
        while (!before.isNull())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        watch.end();
    }
    QTextStream(stdout) << "held " << watch.longest() << '\n';
    return 0;
}
