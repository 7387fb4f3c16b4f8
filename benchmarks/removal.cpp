// Uninstalls a package of many small files, and for comparison removes the same files with `rm
// -rf`, in turn. Prints one line for each pair, in microseconds.
//
//     bench_removal WORK_FOLDER ADDRESS FILES PAIRS

#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "benchmarks/MeasuredEngine.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

using namespace Kavo;

int main(int argc, char **argv)
{
    constexpr int Id = 2;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(4);
    const QString &address = arguments.at(2);
    const int files = arguments.at(3).toInt();

    Benchmarks::MeasuredEngine engine(arguments.at(1), address);
    engine.serveCatalogue(Benchmarks::makeCatalogue(Id, address));
    engine.refresh();
    const Models::PackagePointer package = engine.package(Id);
    const QString folder =
        engine.simulator(package->findVersion(QString())->uninstall->remove.first());

    for (int pair = -1; pair < arguments.at(4).toInt(); ++pair) {
        Benchmarks::makeTree(folder, files);
        engine.markInstalled({Id}, Benchmarks::newestVersion());
        Benchmarks::settleDisk();
        const qint64 ours = Benchmarks::timed([&] { engine.controller().uninstall(package); });
        Benchmarks::require(!QFileInfo::exists(folder), "files are left");

        Benchmarks::makeTree(folder, files);
        Benchmarks::settleDisk();
        const qint64 reference = Benchmarks::timed([&] {
            QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), folder});
        });
        if (pair >= 0)
            Benchmarks::printPair(ours, reference);
    }
    return 0;
}
