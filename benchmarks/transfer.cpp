// Fetches files with the download manager into a cache folder, as the program does, and ends when
// all downloads are Finished. Prints the difference between the peak resident size and that before
// the first request, in KiB.
//
//     bench_transfer CACHE_FOLDER ADDRESS...

#include "benchmarks/Process.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QTextStream>

using Kavo::Benchmarks::processStatus;
using Kavo::Models::Download;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;

    const auto settings = QSharedPointer<Kavo::Settings>::create();
    settings->setPending(Kavo::Settings::CACHE, arguments.at(1));
    settings->apply();
    Kavo::Managers::DownloadManager manager(settings,
                                            QSharedPointer<QNetworkAccessManager>::create());
    const qint64 before = processStatus("VmRSS:");

    int running = arguments.size() - 2;
    int failed = 0;
    for (const QString &address : arguments.mid(2)) {
        const auto download = QSharedPointer<Download>::create(address, true, false);
        QObject::connect(download.data(), &Download::error, &application, [&failed] { ++failed; });
        QObject::connect(download.data(), &Download::finished, &application, [&running] {
            if (--running == 0)
                QCoreApplication::quit();
        });
        manager.add(download, false);
    }
    QCoreApplication::exec();

    QTextStream(stdout) << processStatus("VmHWM:") - before << '\n';
    return failed == 0 ? 0 : 1;
}
