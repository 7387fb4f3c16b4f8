// Installs an archive that is already in the cache, and for comparison unpacks it with `7z x` into
// an empty folder, in turn. The first time is from the start of the task to INSTALLED. With
// "listed" the second one includes that of `7z l`, because the installation lists the archive too.
// Prints one line for each pair, in microseconds. At the end it prints "held" and the longest time
// for which the event loop was blocked during PAIRS further installations.
//
//     bench_installation WORK_FOLDER ADDRESS ARCHIVE PAIRS listed|alone

#include "benchmarks/LoopWatch.h"
#include "benchmarks/Measure.h"
#include "benchmarks/MeasuredEngine.h"
#include "benchmarks/Process.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTextStream>
#include <QTimer>

using namespace Kavo;
using Models::Package;

namespace {

using Clock = std::chrono::steady_clock;
constexpr int Id = 2;

qint64 microseconds(Clock::duration duration)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
}

QByteArray catalogue(const QString &link)
{
    const QJsonObject install{{QStringLiteral("extract"), QStringLiteral("Custom Scenery/New")}};
    const QJsonObject version{{QStringLiteral("version"), QStringLiteral("1.0.0")},
                              {QStringLiteral("link"), link},
                              {QStringLiteral("install"), install}};
    return QJsonDocument(QJsonArray{QJsonObject{{QStringLiteral("id"), Id},
                                                {QStringLiteral("versions"), QJsonArray{version}}}})
        .toJson();
}

/// The microseconds from INSTALLING, when the archive is passed to the task, to INSTALLED.
qint64 install(Benchmarks::MeasuredEngine &engine, Benchmarks::LoopWatch *watch)
{
    const Models::PackagePointer package = engine.package(Id);
    QEventLoop loop;
    Clock::time_point begin;
    Clock::time_point end;
    QObject::connect(
        package.data(), &Package::stateChanged, &loop,
        [&](Package::State state) {
            if (state == Package::INSTALLING) {
                begin = Clock::now();
                if (watch)
                    watch->begin();
            } else if (state == Package::INSTALLED) {
                end = Clock::now();
            }
            Benchmarks::require(!Package::isError(state), "the installation failed");
        },
        Qt::DirectConnection);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (package->state() == Package::INSTALLED && !engine.controller().isBusy())
            loop.quit();
    });
    poll.start(10);
    QString version;
    engine.controller().install(package, version);
    loop.exec();
    if (watch)
        watch->end();
    return microseconds(end - begin);
}

/// Makes both measurements start with an idle disk and enough memory.
void prepare()
{
    constexpr std::size_t Enough = std::size_t(3) * 1024 * 1024 * 1024;
    Benchmarks::settleDisk();
    Benchmarks::warmMemory(Enough);
}

void run7Zip(const QStringList &arguments)
{
    QProcess program;
    program.setStandardOutputFile(QProcess::nullDevice());
    program.start(QStringLiteral("7z"), arguments);
    program.waitForFinished(-1);
    Benchmarks::require(program.exitCode() == 0, "7z failed");
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(5);
    const QString archive = arguments.at(3);
    const QString name = QFileInfo(archive).fileName();
    const QString target = arguments.at(1) + QStringLiteral("/unpacked");

    Benchmarks::MeasuredEngine engine(arguments.at(1), arguments.at(2));
    engine.serveCatalogue(catalogue(arguments.at(2) + name));
    engine.refresh();
    const auto installOnce = [&](Benchmarks::LoopWatch *watch) {
        QFile::copy(archive, engine.cacheFolder() + name);
        prepare();
        engine.package(Id)->setState(Package::AVAILABLE);
        const qint64 duration = install(engine, watch);
        QDir(engine.simulator(QStringLiteral("Custom Scenery"))).removeRecursively();
        return duration;
    };
    // This side also unpacks a fresh copy of the archive, so that both sides do the same work.
    const auto unpackOnce = [&] {
        const QString copy = target + QStringLiteral(".copy");
        QFile::copy(archive, copy);
        prepare();
        const qint64 duration = Benchmarks::timed([&] {
            if (arguments.at(5) == QLatin1String("listed"))
                run7Zip({QStringLiteral("l"), QStringLiteral("-slt"), copy});
            run7Zip({QStringLiteral("x"), copy, QString(QStringLiteral("-o") + target)});
        });
        QDir(target).removeRecursively();
        QFile::remove(copy);
        return duration;
    };
    const int pairs = arguments.at(4).toInt();
    for (int pair = -1; pair < pairs; ++pair) {
        const qint64 ours = installOnce(nullptr);
        const qint64 reference = unpackOnce();
        if (pair >= 0)
            Benchmarks::printPair(ours, reference);
    }
    Benchmarks::LoopWatch watch;
    for (int run = 0; run < pairs; ++run)
        installOnce(&watch);
    QTextStream(stdout) << "held " << watch.longest() << '\n';
    return 0;
}
