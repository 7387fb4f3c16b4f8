// Runs the package management without a window, as a process that a test can kill at any time.
//
//     engine_driver SERVER SIMULATOR_FOLDER install ID[:VERSION]...
//     engine_driver SERVER SIMULATOR_FOLDER uninstall ID...
//
// Loads the catalogue, carries out the command and exits with status 0; with 1 if a package has
// failed, with 2 if the catalogue cannot be loaded or lacks a package. Without a version the newest
// one is installed. A version other than the installed one is an update or a downgrade. Packages in
// the wanted state are skipped, so that the same command finishes an interrupted run. Standard
// output announces the phases. HOME and the XDG variables select the account.

#include "core/Log.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "packages/PackageController.h"
#include "tests/integration/PhaseReport.h"
#include "tests/support/Literals.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QTimer>

#include <chrono>

using namespace Kavo;
using Controllers::PackageController;
using Models::Package;
using Models::PackagePointer;
using namespace Testing;

namespace {

constexpr std::chrono::milliseconds LookInterval{2};

/// The receiver of log lines.
PhaseReport *report = nullptr;

void readLog(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (report)
        report->readLog(message);
    logMessage(type, context, message);
}

QSharedPointer<Settings> makeSettings(const QString &simulator)
{
    auto settings = QSharedPointer<Settings>::create();
    settings->setPending(Settings::INSTALLATION, simulator);
    settings->setPending(Settings::LANGUAGE, "en"_s);
    settings->setPending(Settings::CACHE, cacheDirectory());
    settings->setPending(Settings::PRESERVE, preserveDirectory());
    settings->setPending(Settings::BACKUP, backupDirectory());
    settings->apply();
    return settings;
}

PackagePointer wantedPackage(const PackageController &controller, const QString &wanted)
{
    return controller.findPackage(wanted.section(QLatin1Char(':'), 0, 0).toInt());
}

/// Ends the program as soon as none of the packages is in progress.
void endWhenSettled(PackageController &controller, const QStringList &wanted)
{
    bool installed = true;
    for (const QString &text : wanted) {
        const PackagePointer package = wantedPackage(controller, text);
        if (!package || package->isBusy())
            return;
        installed = installed && package->state() == Package::INSTALLED;
    }
    if (!controller.isBusy())
        QCoreApplication::exit(installed ? 0 : 1);
}

void install(PackageController &controller, const QString &wanted)
{
    const PackagePointer package = wantedPackage(controller, wanted);
    const auto version = package->findVersion(wanted.section(QLatin1Char(':'), 1));
    if (controller.installedVersion(package) == version->version)
        return;
    report->expect(package, version);
    QString text = version->version;
    controller.install(package, text);
}

void installAll(PackageController &controller, const QStringList &wanted)
{
    for (const QString &text : wanted)
        install(controller, text);
    // The state of a package changes before its result is recorded, without a signal for the
    // latter.
    auto *look = new QTimer(&controller);
    QObject::connect(look, &QTimer::timeout, &controller,
                     [&controller, wanted] { endWhenSettled(controller, wanted); });
    look->start(LookInterval);
}

void uninstallAll(PackageController &controller, const QStringList &wanted)
{
    for (const QString &text : wanted) {
        const PackagePointer package = wantedPackage(controller, text);
        if (package->state() == Package::INSTALLED)
            controller.uninstall(package);
    }
    QCoreApplication::exit(0);
}

void work(PackageController &controller, const QString &command, const QStringList &wanted)
{
    for (const QString &text : wanted) {
        if (!wantedPackage(controller, text)) {
            QCoreApplication::exit(2);
            return;
        }
    }
    report->followAll();
    if (command == "uninstall"_s)
        uninstallAll(controller, wanted);
    else
        installAll(controller, wanted);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName("Quarnell"_s);
    QCoreApplication::setApplicationName("Kavo Suite"_s);
    qInstallMessageHandler(readLog);
    Models::registerPackageState();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 5)
        return 2;

    const auto settings = makeSettings(arguments.at(2));
    const auto downloads = QSharedPointer<Managers::DownloadManager>::create(
        settings, QSharedPointer<QNetworkAccessManager>::create());
    PackageController controller(settings, downloads,
                                 {arguments.at(1), PackageEnvironment::standard().extractor});
    PhaseReport phases(controller, {arguments.at(2), preserveDirectory(), backupDirectory()});
    report = &phases;
    phases.announce("starting"_s);
    const QString &command = arguments.at(3);
    const QStringList wanted = arguments.mid(4);
    QObject::connect(&controller, &PackageController::list, &controller,
                     [&controller, command, wanted] { work(controller, command, wanted); });
    QObject::connect(&controller, &PackageController::error, &controller,
                     [] { QCoreApplication::exit(2); });
    controller.refresh();
    const int status = QCoreApplication::exec();
    report = nullptr;
    return status;
}
