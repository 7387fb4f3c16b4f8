// Measures the costs of a long list. Prints one number in each line:
// - the longest time for which the event loop is blocked, in microseconds, while a list of 100
//   packages is filled, while the long list is filled, and while it is filled again (three lines)
// - the memory of a card, in bytes
// - the processor use of the idle window, in 1/1000 percent of one core
// - the time of a scrolling step, in microseconds, at the 99th percentile
// - the longest time for which the event loop is blocked, in microseconds, from the call of
//   refresh() until the long list is filled again
//
//     bench_long_list WORK_FOLDER ADDRESS PACKAGES

#include "benchmarks/CardWindow.h"
#include "benchmarks/Measure.h"
#include "benchmarks/Process.h"
#include "components/WidgetList.h"

#include <QApplication>
#include <QEventLoop>
#include <QScrollBar>
#include <QTextStream>
#include <QTimer>

#include <algorithm>

using namespace Kavo::Benchmarks;

namespace {

constexpr int ShortList = 100;

void runLoop(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Processor time divided by wall time, in 1/1000 percent.
qint64 idleUse()
{
    constexpr int Settling = 1000;
    constexpr int Measured = 10000;
    runLoop(Settling);
    const qint64 wall = wallTime();
    const qint64 processor = processorTime();
    runLoop(Measured);
    return (processorTime() - processor) * 100000 / (wallTime() - wall);
}

/// Scrolls from the top to the bottom in steps of three quarters of a row, as a mouse wheel does.
/// Returns the time of a step in microseconds, at the 99th percentile.
qint64 slowStep(const Kavo::Components::WidgetList &list)
{
    constexpr int Step = 96;
    QScrollBar *bar = list.verticalScrollBar();
    QVector<qint64> steps;
    for (int value = 0; value < bar->maximum(); value += Step) {
        steps.append(timed([bar, value] {
            bar->setValue(value);
            QCoreApplication::processEvents();
        }));
    }
    std::sort(steps.begin(), steps.end());
    return steps.at(steps.size() * 99 / 100);
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4)
        return 2;
    const int packages = arguments.at(3).toInt();

    CardWindow window(arguments.at(1), arguments.at(2));
    // The first list includes one-time work.
    window.fill(ShortList);
    const CardWindow::Filling small = window.fill(ShortList);
    window.empty();
    const CardWindow::Filling filling = window.fill(packages);
    const CardWindow::Filling again = window.fill(packages);
    QTextStream out(stdout);
    out << small.longestHold << '\n' << filling.longestHold << '\n' << again.longestHold << '\n';
    out << filling.memory * 1024 / packages << '\n';
    out << idleUse() << '\n' << slowStep(window.list()) << '\n';
    out << again.refreshHold << '\n';
    return 0;
}
