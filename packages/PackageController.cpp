#include "packages/PackageController.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "packages/model/ChangeLog.h"
#include "packages/record/FormerFolders.h"

namespace Kavo::Controllers {

using Models::Package;
using Models::PackageList;
using Models::PackagePointer;

namespace {

Models::PackageFolders foldersOf(const Settings &settings)
{
    const QString &preserve = settings.current(Settings::PRESERVE);
    const QString &backup = settings.current(Settings::BACKUP);
    return {settings.current(Settings::INSTALLATION), preserve, backup,
            Models::formerFolders(QStringLiteral("preserve"), preserve, preserveDirectory()),
            Models::formerFolders(QStringLiteral("backup"), backup, backupDirectory())};
}

} // namespace

PackageController::PackageController(const QSharedPointer<Settings> &settings,
                                     const QSharedPointer<Managers::DownloadManager> &downloads)
    : PackageController(settings, downloads, PackageEnvironment::standard())
{}

PackageController::PackageController(const QSharedPointer<Settings> &settings,
                                     const QSharedPointer<Managers::DownloadManager> &downloads,
                                     const PackageEnvironment &environment)
    : m_settings(settings)
    , m_downloads(downloads)
    , m_database(settings->current(Settings::INSTALLATION))
    , m_dependencies(m_catalogue, m_database)
    , m_feed(settings, downloads, environment.catalogueServer, Models::LargestCatalogue)
    , m_uninstaller(m_catalogue, m_database, foldersOf(*settings))
    , m_installer(m_catalogue, m_database, downloads, {foldersOf(*settings), environment.extractor},
                  environment.clock)
    , m_loader(m_catalogue, m_database, m_installer, m_uninstaller)
{
    connect(&m_feed, &Models::CatalogueFeed::available, this, [this](const QString &path) {
        m_loader.load(path, m_settings->current(Settings::LANGUAGE));
    });
    connect(&m_feed, &Models::CatalogueFeed::failed, this, &PackageController::error);
    connect(&m_loader, &Models::CatalogueLoader::loaded, this, [this] {
        emit update();
        emit list();
    });
}

PackageController::~PackageController() = default;

void PackageController::refresh()
{
    emit busy();
    ensureDirectory(m_settings->current(Settings::PRESERVE), true);
    ensureDirectory(m_settings->current(Settings::BACKUP), true);
    m_database.open();
    m_catalogue.clear();
    m_feed.request();
}

QStringList PackageController::packageTypes()
{
    return Models::knownPackageTypes();
}

void PackageController::install(const PackagePointer &package, QString &version)
{
    m_installer.install(package, version);
}

Models::Removal PackageController::uninstall(const PackagePointer &package)
{
    const PackageList order = m_uninstaller.removalOrder(package);
    Models::Removal refused;
    refused.blockers = m_installer.blockers(order);
    if (refused.blockers.isEmpty()) {
        const Models::Removal removal = m_uninstaller.uninstall(order);
        showRemoved(order);
        return removal;
    }
    for (const PackagePointer &blocker : refused.blockers)
        logLine(QStringLiteral("Package is busy : ") + blocker->name());
    return refused;
}

/// A catalogue that was loaded since has new objects for these packages.
void PackageController::showRemoved(const PackageList &packages)
{
    for (const PackagePointer &package : packages) {
        const PackagePointer current = m_catalogue.resolve(package->id());
        if (!current || current == package || package->state() != Package::AVAILABLE)
            continue;
        current->setUpdateAvailable(false);
        current->setState(Package::AVAILABLE);
    }
}

PackageList PackageController::removedAlong(const PackagePointer &package) const
{
    PackageList order = m_uninstaller.removalOrder(package);
    order.removeLast();
    return order;
}

PackageList PackageController::removalBlockers(const PackagePointer &package) const
{
    return m_installer.blockers(m_uninstaller.removalOrder(package));
}

bool PackageController::isBusy() const
{
    return m_installer.isBusy() || m_uninstaller.isBusy();
}

int PackageController::status(const PackagePointer &package) const
{
    return m_database.status(*package);
}

QString PackageController::installedVersion(const PackagePointer &package) const
{
    // The record also names versions that are being installed, failed or were removed.
    return package->state() == Package::INSTALLED ? m_database.version(*package) : QString();
}

QString PackageController::changeLog(const PackagePointer &package, const QString &version) const
{
    const QString installed = installedVersion(package);
    if (installed.isEmpty())
        return QString();
    const int from = package->versionIndex(version);
    const int to = package->versionIndex(installed);
    return Models::changeLogHtml(package->versions().mid(from, qMax(0, to - from)));
}

PackageList PackageController::resolvedDependencies(const PackagePointer &package,
                                                    const QString &version) const
{
    return m_dependencies.resolved(*package, version);
}

PackageList PackageController::dependents(const PackagePointer &package,
                                          const QString &version) const
{
    return m_dependencies.dependents(*package, version);
}

QSharedPointer<Models::Download>
PackageController::runningDownload(const PackagePointer &package) const
{
    return m_installer.runningDownload(*package);
}

Models::WorkProgress PackageController::progress(const PackagePointer &package) const
{
    return m_installer.progress(*package);
}

void PackageController::reset()
{
    m_database.reset();
    if (m_downloads)
        m_downloads->clear();
}

void PackageController::showList()
{
    emit list();
}

} // namespace Kavo::Controllers
