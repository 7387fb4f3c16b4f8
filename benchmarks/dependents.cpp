// Uninstalls a library together with its many dependents, and for comparison as many independent
// packages one by one, in turn. Each package has one small file. Prints one line for each pair, in
// microseconds.
//
//     bench_dependents WORK_FOLDER ADDRESS DEPENDENTS PAIRS

#include "benchmarks/Measure.h"
#include "benchmarks/MeasuredEngine.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <numeric>

using namespace Kavo;

namespace {

const int Library = 1;

/// The ids from `first` on of one library and its dependents.
QVector<int> group(int first, int dependents)
{
    QVector<int> ids(dependents + 1);
    std::iota(ids.begin(), ids.end(), first);
    return ids;
}

QString folderOf(int id)
{
    return QStringLiteral("Custom Scenery/Package %1").arg(id);
}

QJsonObject packageObject(int id, const QJsonArray &depends)
{
    const QJsonObject uninstall{{QStringLiteral("remove"), QJsonArray{folderOf(id)}}};
    const QJsonObject version{{QStringLiteral("version"), QStringLiteral("1.0.0")},
                              {QStringLiteral("depends"), depends},
                              {QStringLiteral("uninstall"), uninstall}};
    return {{QStringLiteral("id"), id}, {QStringLiteral("versions"), QJsonArray{version}}};
}

QByteArray catalogue(const QVector<int> &needed, const QVector<int> &unrelated)
{
    QJsonArray array;
    for (const int id : needed)
        array.append(
            packageObject(id, id == Library ? QJsonArray() : QJsonArray{QString::number(Library)}));
    for (const int id : unrelated)
        array.append(packageObject(id, {}));
    return QJsonDocument(array).toJson();
}

void install(Benchmarks::MeasuredEngine &engine, const QVector<int> &ids)
{
    for (const int id : ids)
        Benchmarks::makeTree(engine.simulator(folderOf(id)), 1);
    engine.markInstalled(ids, QStringLiteral("1.0.0"));
    Benchmarks::settleDisk();
}

void requireRemoved(const Benchmarks::MeasuredEngine &engine, const QVector<int> &ids)
{
    for (const int id : ids)
        Benchmarks::require(engine.package(id)->state() == Models::Package::AVAILABLE &&
                                !QFileInfo::exists(engine.simulator(folderOf(id))),
                            "packages are left");
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(4);
    const int dependents = arguments.at(3).toInt();
    const QVector<int> needed = group(Library, dependents);
    const QVector<int> unrelated = group(Library + needed.size(), dependents);

    Benchmarks::MeasuredEngine engine(arguments.at(1), arguments.at(2));
    engine.serveCatalogue(catalogue(needed, unrelated));
    engine.refresh();
    for (int pair = -1; pair < arguments.at(4).toInt(); ++pair) {
        install(engine, needed);
        const qint64 ours =
            Benchmarks::timed([&] { engine.controller().uninstall(engine.package(Library)); });
        requireRemoved(engine, needed);

        install(engine, unrelated);
        const qint64 reference = Benchmarks::timed([&] {
            for (const int id : unrelated)
                engine.controller().uninstall(engine.package(id));
        });
        requireRemoved(engine, unrelated);
        if (pair >= 0)
            Benchmarks::printPair(ours, reference);
    }
    return 0;
}
