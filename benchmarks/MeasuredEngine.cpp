#include "benchmarks/MeasuredEngine.h"

#include "benchmarks/Measure.h"
#include "benchmarks/Random.h"
#include "core/Installation.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QNetworkReply>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <unistd.h>

namespace Kavo::Benchmarks {

using Controllers::PackageController;
using Models::Package;

namespace {

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "writing a file");
}

/// Sets environment variables and names so that the user's real files are not touched.
void moveAccount(const QString &home)
{
    for (const char *name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
        qputenv(name, home.toLocal8Bit());
    // The cache folder must not be below the data folder, which is deleted at each start.
    qputenv("XDG_CACHE_HOME", home.toLocal8Bit() + "/.cache");
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnell"));
    QCoreApplication::setApplicationName(QStringLiteral("Kavo Suite"));
}

} // namespace

MeasuredEngine::MeasuredEngine(const QString &workFolder, const QString &address)
    : m_workFolder(workFolder)
{
    moveAccount(workFolder + QStringLiteral("/home"));
    QDir(applicationDataDirectory()).removeRecursively();
    // Log lines are written as in the program, so that they take the same time.
    qInstallMessageHandler(logMessage);
    Models::registerPackageState();

    m_settings = QSharedPointer<Settings>::create();
    m_settings->setPending(Settings::INSTALLATION, simulator({}));
    m_settings->setPending(Settings::CACHE, cacheDirectory());
    m_settings->setPending(Settings::PRESERVE, preserveDirectory());
    m_settings->setPending(Settings::BACKUP, backupDirectory());
    m_settings->setPending(Settings::LANGUAGE, QStringLiteral("de"));
    m_settings->apply();
    ensureDirectory(simulator({}), true);
    writeFile(simulator(simulatorExecutable()), {});

    m_network = QSharedPointer<QNetworkAccessManager>::create();
    m_downloads = QSharedPointer<Managers::DownloadManager>::create(m_settings, m_network);
    m_controller = QSharedPointer<PackageController>::create(
        m_settings, m_downloads,
        PackageEnvironment{address, PackageEnvironment::standard().extractor});
}

QString MeasuredEngine::simulator(const QString &entry) const
{
    return m_workFolder + QStringLiteral("/simulator/") + entry;
}

QString MeasuredEngine::cacheFolder() const
{
    return m_settings->current(Settings::CACHE);
}

void MeasuredEngine::serveCatalogue(const QByteArray &bytes)
{
    writeFile(m_workFolder + QStringLiteral("/www/packages.json"), bytes);
}

qint64 MeasuredEngine::refresh()
{
    using Clock = std::chrono::steady_clock;
    QEventLoop loop;
    Clock::time_point begin;
    Clock::time_point end;
    // The network access manager emits this signal before the reply's receiver handles the end.
    QObject::connect(m_network.data(), &QNetworkAccessManager::finished, &loop,
                     [&begin] { begin = Clock::now(); });
    QObject::connect(m_controller.data(), &PackageController::list, &loop, [&end, &loop] {
        end = Clock::now();
        loop.quit();
    });
    QObject::connect(m_controller.data(), &PackageController::error, &loop,
                     [] { require(false, "the catalogue did not come"); });
    m_controller->refresh();
    loop.exec();
    return std::chrono::duration_cast<std::chrono::microseconds>(end - begin).count();
}

void MeasuredEngine::markInstalled(const QVector<int> &ids, const QString &version)
{
    const QString connection = QStringLiteral("benchmark");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(applicationDataDirectory() + QStringLiteral("packages.db"));
        require(database.open() && database.transaction(), "opening the database");
        QSqlQuery query(database);
        query.prepare(QStringLiteral(
            "INSERT OR REPLACE INTO packages(package_id,status,version) VALUES (?,?,?)"));
        for (const int id : ids) {
            query.addBindValue(id);
            query.addBindValue(static_cast<int>(Package::INSTALLED));
            query.addBindValue(version);
            require(query.exec(), "recording a package");
            if (const Models::PackagePointer known = package(id))
                known->setState(Package::INSTALLED);
        }
        query.finish();
        require(database.commit(), "recording the packages");
    }
    QSqlDatabase::removeDatabase(connection);
}

void makeTree(const QString &folder, int count)
{
    constexpr int FilesInFolder = 50;
    Random random(static_cast<std::uint64_t>(count));
    QString current;
    for (int number = 0; number < count; ++number) {
        if (number % FilesInFolder == 0) {
            const int place = number / FilesInFolder;
            current = QStringLiteral("%1/area %2/part %3").arg(folder).arg(place / 20).arg(place);
            require(QDir().mkpath(current), "making a folder");
        }
        QByteArray content(200 + random.below(3000), Qt::Uninitialized);
        for (char &byte : content)
            byte = static_cast<char>('a' + random.below(16));
        writeFile(QStringLiteral("%1/object-%2.obj").arg(current).arg(number), content);
    }
}

void settleDisk()
{
    ::sync();
}

} // namespace Kavo::Benchmarks
