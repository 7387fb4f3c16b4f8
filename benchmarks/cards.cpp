// Fills a long and a short list with cards, in turn. Prints one line for each pair, the long list
// first: with "screen", the microseconds until all visible cards are painted; with "whole", the
// microseconds of processor time for each thousand cards until all exist.
//
//     bench_cards screen|whole WORK_FOLDER ADDRESS LONG SHORT PAIRS

#include "benchmarks/CardWindow.h"
#include "benchmarks/Measure.h"

#include <QApplication>

using Kavo::Benchmarks::CardWindow;

namespace {

constexpr int WarmUp = 30;

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 7)
        return 2;
    const bool whole = arguments.at(1) == QLatin1String("whole");
    const auto measure = [whole, &arguments](int packages) {
        // Each measurement uses a new window, because requests for icons that never arrive
        // accumulate in it. One-time work and the deletion of cards are not measured.
        CardWindow window(arguments.at(2), arguments.at(3));
        window.fill(WarmUp);
        window.empty();
        const CardWindow::Filling filling = window.fill(packages);
        return whole ? filling.processorTime * 1000 / packages : filling.firstScreen;
    };

    for (int pair = -1; pair < arguments.at(6).toInt(); ++pair) {
        const qint64 longList = measure(arguments.at(4).toInt());
        const qint64 shortList = measure(arguments.at(5).toInt());
        if (pair >= 0)
            Kavo::Benchmarks::printPair(longList, shortList);
    }
    return 0;
}
