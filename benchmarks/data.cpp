// Makes the files on which the benchmarks work, with the same bytes in every run.
//
//     bench_data bytes MIB FILE        incompressible bytes
//     bench_data tree FILES FOLDER     small files in many folders
//     bench_data catalogue PACKAGES ADDRESS FILE

#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "benchmarks/MeasuredEngine.h"
#include "benchmarks/Random.h"

#include <QCoreApplication>
#include <QFile>
#include <QVector>

using namespace Kavo;

namespace {

void makeBytes(int mebibytes, const QString &path)
{
    Benchmarks::Random random(static_cast<std::uint64_t>(mebibytes));
    QFile file(path);
    Benchmarks::require(file.open(QIODevice::WriteOnly), "making a file");
    QVector<std::uint64_t> block(1024 * 1024 / int(sizeof(std::uint64_t)));
    for (int written = 0; written < mebibytes; ++written) {
        for (std::uint64_t &number : block)
            number = random.bits();
        const qint64 size = block.size() * qint64(sizeof(std::uint64_t));
        Benchmarks::require(file.write(reinterpret_cast<const char *>(block.constData()), size) ==
                                size,
                            "writing a file");
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString what = arguments.value(0);
    const int count = arguments.value(1).toInt();
    if (what == QLatin1String("bytes") && arguments.size() == 3) {
        makeBytes(count, arguments.at(2));
    } else if (what == QLatin1String("tree") && arguments.size() == 3) {
        Benchmarks::makeTree(arguments.at(2), count);
    } else if (what == QLatin1String("catalogue") && arguments.size() == 4) {
        QFile file(arguments.at(3));
        const QByteArray bytes = Benchmarks::makeCatalogue(count, arguments.at(2));
        Benchmarks::require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
                            "writing the catalogue");
    } else {
        return 2;
    }
    return 0;
}
