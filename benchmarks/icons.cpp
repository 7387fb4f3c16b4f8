// Measures the effect of a server that sends each icon with a delay of MILLISECONDS. Prints three
// times in microseconds, one in each line: from the list until each visible card has its icon; the
// same after scrolling to the middle of the list, while other icons are still being fetched; and
// from the start of an installation until its archive is requested, the median of several.
//
//     bench_icons WORK_FOLDER ADDRESS PACKAGES MILLISECONDS

#include "benchmarks/CardWindow.h"
#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/Measure.h"
#include "benchmarks/Process.h"
#include "benchmarks/SlowServer.h"
#include "components/WidgetList.h"

#include <QApplication>
#include <QBuffer>
#include <QEventLoop>
#include <QImage>
#include <QScrollBar>
#include <QTextStream>
#include <QTimer>

#include <algorithm>

using namespace Kavo::Benchmarks;

namespace {

QByteArray makePicture()
{
    QImage image(96, 96, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

/// The median time from the start of an installation to the request for its archive, while icons
/// are being fetched.
qint64 orderToArchive(CardWindow &window, SlowServer &server)
{
    constexpr int Orders = 9;
    // The server has no archives, and a visible list would report that in message boxes.
    window.list().hide();
    QVector<qint64> times;
    // A package never depends on one with a larger id, so no earlier installation has requested
    // these archives.
    for (int id = 2; id < 2 + Orders; ++id) {
        QEventLoop loop;
        const QString archive = QStringLiteral("/archives/package-%1-").arg(id);
        QObject::connect(&server, &SlowServer::asked, &loop,
                         [&loop, &archive](const QString &path) {
                             if (path.startsWith(archive))
                                 loop.quit();
                         });
        const qint64 begin = wallTime();
        QString version;
        window.engine().controller().install(window.engine().package(id), version);
        loop.exec();
        times.append(wallTime() - begin);
    }
    std::sort(times.begin(), times.end());
    return times.at(Orders / 2);
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    require(arguments.size() == 5, "wrong arguments");
    const int packages = arguments.at(3).toInt();

    SlowServer server(makePicture(), arguments.at(4).toInt());
    CardWindow window(arguments.at(1), arguments.at(2));
    // The icons of the first screen arrive while further cards are created.
    qint64 firstScreen = 0;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &application, [&window, &firstScreen] {
        if (firstScreen == 0 && window.showsIconsInSight())
            firstScreen = window.sinceUpdate();
    });
    look.start(5);
    window.fillFrom(server.address(), packages);
    while (firstScreen == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);

    QScrollBar *bar = window.list().verticalScrollBar();
    const qint64 begin = wallTime();
    bar->setValue(bar->maximum() / 2);
    while (!window.showsIconsInSight())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const qint64 middle = wallTime() - begin;

    QTextStream(stdout) << firstScreen << '\n'
                        << middle << '\n'
                        << orderToArchive(window, server) << '\n';
    return 0;
}
