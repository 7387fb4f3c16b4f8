// Parses a catalogue into package objects, and for comparison into a JSON document, in turn. Prints
// one line for each pair, in microseconds.
//
//     bench_parse PACKAGES PAIRS

#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "packages/catalogue/CatalogueParser.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <malloc.h>

using namespace Kavo;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(2);
    const int count = arguments.at(1).toInt();
    const QByteArray bytes =
        Benchmarks::makeCatalogue(count, QStringLiteral("http://addons.example.org/"));

    for (int pair = -1; pair < arguments.at(2).toInt(); ++pair) {
        // Returns freed memory first, so that neither side has to do that for the other.
        malloc_trim(0);
        Models::PackageList packages;
        const qint64 ours = Benchmarks::timed(
            [&] { packages = Models::parseCatalogue(bytes, QStringLiteral("de")); });
        Benchmarks::require(packages.size() == count, "the packages are not all there");

        malloc_trim(0);
        QJsonDocument document;
        const qint64 reference =
            Benchmarks::timed([&] { document = QJsonDocument::fromJson(bytes); });
        Benchmarks::require(document.isArray(), "the document is not read");
        if (pair >= 0)
            Benchmarks::printPair(ours, reference);
    }
    return 0;
}
