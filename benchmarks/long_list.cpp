// What a long list costs on its own account. Prints, a line each: the longest time in microseconds
// that the event loop is held while a list of 100 is filled at once, while the long list fills and
// while it is filled anew, the memory of a card in bytes, the hundredths of one core that the idle
// window takes in thousandths, the microseconds of a step of scrolling at the 99th percentile, and
// the longest time that the event loop is held from the order to refresh until the long list is
// filled anew.
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

/// Processor time divided by wall time, in 1/100,000.
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
