// Package management without a window, as a process of its own that a test can end at any moment.
//
//     engine_driver SERVER SIMULATOR_FOLDER ID...
//
// Loads the catalogue, installs the packages and ends with status 0 when all are installed, 1 when
// one failed, 2 when there is no catalogue. HOME and the XDG variables say whose data it works on.

#include "core/Log.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "packages/PackageController.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QTimer>

#include <chrono>

using namespace Kavo;
using Controllers::PackageController;
using Models::Package;
using Models::PackagePointer;

namespace {

constexpr std::chrono::milliseconds LookInterval{10};

QSharedPointer<Settings> makeSettings(const QString &simulator)
{
    auto settings = QSharedPointer<Settings>::create();
    settings->setPending(Settings::INSTALLATION, simulator);
    settings->setPending(Settings::LANGUAGE, QStringLiteral("en"));
    settings->setPending(Settings::CACHE, cacheDirectory());
    settings->setPending(Settings::PRESERVE, preserveDirectory());
    settings->setPending(Settings::BACKUP, backupDirectory());
    settings->apply();
    return settings;
}

/// Ends the program as soon as none of the packages is on its way any more.
void endWhenSettled(PackageController &controller, const QStringList &ids)
{
    bool installed = true;
    for (const QString &id : ids) {
        const PackagePointer package = controller.findPackage(id.toInt());
        if (!package || package->isBusy())
            return;
        installed = installed && package->state() == Package::INSTALLED;
    }
    if (!controller.isBusy())
        QCoreApplication::exit(installed ? 0 : 1);
}

void installAll(PackageController &controller, const QStringList &ids)
{
    for (const QString &id : ids) {
        const PackagePointer package = controller.findPackage(id.toInt());
        if (!package) {
            QCoreApplication::exit(2);
            return;
        }
        QString version;
        controller.install(package, version);
    }
    // The state of a package changes before its result is recorded; only looking again tells.
    auto *look = new QTimer(&controller);
    QObject::connect(look, &QTimer::timeout, &controller,
                     [&controller, ids] { endWhenSettled(controller, ids); });
    look->start(LookInterval);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnell"));
    QCoreApplication::setApplicationName(QStringLiteral("Kavo Suite"));
    qInstallMessageHandler(logMessage);
    Models::registerPackageState();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4)
        return 2;

    const auto settings = makeSettings(arguments.at(2));
    const auto downloads = QSharedPointer<Managers::DownloadManager>::create(
        settings, QSharedPointer<QNetworkAccessManager>::create());
    PackageController controller(settings, downloads,
                                 {arguments.at(1), PackageEnvironment::standard().extractor});
    const QStringList ids = arguments.mid(3);
    QObject::connect(&controller, &PackageController::list, &controller,
                     [&controller, ids] { installAll(controller, ids); });
    QObject::connect(&controller, &PackageController::error, &controller,
                     [] { QCoreApplication::exit(2); });
    controller.refresh();
    return QCoreApplication::exec();
}
