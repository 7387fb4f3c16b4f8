// Checks files of 1 MB that make the check of catalogues as slow as possible, and prints a line
// "hostile NAME MICROSECONDS" for each. Then checks a normal catalogue, and parses it as a client
// does for comparison, in turn. Prints one line for each pair, in microseconds.
//
//     bench_check PACKAGES PAIRS

#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "packages/catalogue/CatalogueParser.h"
#include "tools/check/CatalogueCheck.h"

#include <QCoreApplication>
#include <functional>
#include <malloc.h>

using namespace Kavo;

namespace {

constexpr int Megabyte = 1024 * 1024;

/// A JSON array of one megabyte. `piece` returns the element with the given index.
QByteArray array(const std::function<QByteArray(int)> &piece)
{
    QByteArray bytes = "[";
    for (int index = 0; bytes.size() < Megabyte; ++index)
        bytes += (index ? "," : "") + piece(index);
    return bytes + ']';
}

QByteArray packageWith(const QByteArray &versions)
{
    return R"([{"id":1,"versions":)" + versions + "}]";
}

QByteArray rule(const char *key, const QByteArray &entries)
{
    return packageWith(R"([{"version":"1","uninstall":{")" + QByteArray(key) + R"(":)" + entries +
                       "}}]");
}

QByteArray number(int value)
{
    return QByteArray::number(value);
}

void printHostile(const char *name, const QByteArray &bytes)
{
    const qint64 time = Benchmarks::timed([&bytes] { Tools::checkCatalogue(bytes); });
    std::printf("hostile %s %lld\n", name, static_cast<long long>(time));
}

void printHostile()
{
    printHostile("numbers", array([](int) { return QByteArray("1"); }));
    printHostile("packages", array([](int) { return QByteArray("{}"); }));
    printHostile("brackets", QByteArray(Megabyte, '['));
    printHostile("quotes", '[' + QByteArray(Megabyte, '"'));
    printHostile("backslashes", "[\"" + QByteArray(Megabyte, '\\'));
    printHostile("controls", "[\"" + QByteArray(Megabyte, '\1') + "\"]");
    printHostile("encoding", "[\"" + QByteArray(Megabyte, '\xff') + "\"]");
    printHostile("nul", "[\"" + QByteArray(Megabyte, '\0') + "\"]");
    printHostile("one-path",
                 rule("remove", "[\"" + QByteArray("a/").repeated(Megabyte / 2) + "\"]"));
    printHostile("paths", rule("remove", array([](int index) -> QByteArray {
                                   return R"("a/)" + number(index) + '"';
                               })));
    printHostile("nested-paths", rule("remove", array([](int index) -> QByteArray {
                                          return '"' + QByteArray("a/").repeated(index % 200) + '"';
                                      })));
    printHostile("versions", packageWith(array([](int index) -> QByteArray {
                     return R"({"version":"1.)" + number(index) + R"("})";
                 })));
    printHostile("same-versions",
                 packageWith(array([](int) { return QByteArray(R"({"version":"1"})"); })));
    printHostile("chain", array([](int index) -> QByteArray {
                     return R"({"id":)" + number(index + 1) +
                            R"(,"versions":[{"version":"1","depends":[")" + number(index + 2) +
                            R"("]}]})";
                 }));
    printHostile("older-chain", array([](int index) -> QByteArray {
                     return R"({"id":)" + number(index + 1) +
                            R"(,"versions":[{"version":"2","depends":[")" + number(index + 2) +
                            R"("]},{"version":"1","depends":[")" + number(index + 2) + R"("]}]})";
                 }));
    printHostile("all-need-one", array([](int index) -> QByteArray {
                     return R"({"id":)" + number(index + 1) +
                            R"(,"versions":[{"version":"1","depends":[")" + number(index + 2) +
                            R"(",")" + number(20'000 - index) + R"("]}]})";
                 }));
    printHostile("entries",
                 packageWith(R"([{"version":"1","depends":)" + array([](int index) -> QByteArray {
                                 return '"' + number(index + 2) + '"';
                             }) +
                             "}]"));
    printHostile("keys",
                 "[{" +
                     array([](int index) -> QByteArray { return '"' + number(index) + R"(":1)"; })
                         .mid(1)
                         .chopped(1) +
                     "}]");
    printHostile("languages",
                 R"([{"name":{)" +
                     array([](int index) -> QByteArray { return '"' + number(index) + R"(":"")"; })
                         .mid(1)
                         .chopped(1) +
                     "}}]");
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = Benchmarks::requireArguments(2);
    // These are measured first, so that the heap is as in a process that was started for the check.
    printHostile();

    const int count = arguments.at(1).toInt();
    const QByteArray bytes =
        Benchmarks::makeCatalogue(count, QStringLiteral("http://addons.example.org/"));

    for (int pair = -1; pair < arguments.at(2).toInt(); ++pair) {
        malloc_trim(0);
        Tools::CheckReport report;
        const qint64 ours = Benchmarks::timed([&] { report = Tools::checkCatalogue(bytes); });
        Benchmarks::require(report.count(Tools::Severity::ERROR) == 0, "the catalogue is wrong");

        malloc_trim(0);
        Models::PackageList packages;
        const qint64 reference = Benchmarks::timed(
            [&] { packages = Models::parseCatalogue(bytes, QStringLiteral("de")); });
        Benchmarks::require(packages.size() == count, "the packages are not all there");
        if (pair >= 0)
            Benchmarks::printPair(ours, reference);
    }
    return 0;
}
