#include "tests/packages/Engine.h"

#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/support/Archives.h"
#include "tests/support/RunUntil.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <algorithm>

namespace Kavo::Testing {

using Models::Package;

namespace {

QJsonArray toArray(const QStringList &texts)
{
    return QJsonArray::fromStringList(texts);
}

QString pathOf(const Offer &offer)
{
    return offer.link.isEmpty() ? "/package-%1-%2.zip"_s.arg(offer.id).arg(offer.version)
                                : offer.link;
}

} // namespace

Engine::Engine()
    : m_extractor(PackageEnvironment::standard().extractor)
    , m_settings(m_profile.makeSettings())
{}

Engine::~Engine()
{
    stop();
}

QString Engine::simulator(const QString &path) const
{
    return m_profile.simulatorFolder() + path;
}

QString Engine::cached(const QString &name) const
{
    return m_profile.cacheFolder() + name;
}

void Engine::offer(const Offer &offer)
{
    const Files files = offer.files.isEmpty()
                            ? Files{{fileOf(offer.id), contentOf(offer.id, offer.version)}}
                            : offer.files;
    m_server.serve(pathOf(offer), archiveOf(files, "zip"_s));

    const auto known =
        std::find_if(m_catalogue.begin(), m_catalogue.end(), [&offer](const QJsonObject &object) {
            return object.value("id"_s).toInt() == offer.id;
        });
    if (known != m_catalogue.end()) {
        QJsonArray versions = known->value("versions"_s).toArray();
        versions.append(versionObject(offer));
        known->insert("versions"_s, versions);
        return;
    }
    m_catalogue.append({{"id"_s, offer.id},
                        {"name"_s, QJsonObject{{"en"_s, "package-%1"_s.arg(offer.id)}}},
                        {"versions"_s, QJsonArray{versionObject(offer)}}});
}

void Engine::offerObject(const QJsonObject &package)
{
    m_catalogue.append(package);
}

void Engine::serveCatalogue()
{
    QJsonArray array;
    for (const QJsonObject &package : qAsConst(m_catalogue))
        array.append(package);
    m_server.serve("/packages.json"_s, QJsonDocument(array).toJson());
}

bool Engine::publish(std::initializer_list<Offer> offers)
{
    for (const Offer &each : offers)
        offer(each);
    return refresh();
}

HttpResource &Engine::archive(int id, const QString &version)
{
    return m_server.resource(pathOf({id, version}));
}

void Engine::release(int id, const QString &version)
{
    m_server.release(pathOf({id, version}));
}

QString Engine::cachedArchive(int id, const QString &version) const
{
    return cached(pathOf({id, version}).mid(1));
}

void Engine::holdAndBreak(int id, const QString &version)
{
    archive(id, version).holdAfter = 10;
    archive(id, version).resetAfter = 20;
}

void Engine::start()
{
    Models::registerPackageState();
    m_network = QSharedPointer<QNetworkAccessManager>::create();
    m_downloads = QSharedPointer<Managers::DownloadManager>::create(m_settings, m_network);
    m_controller = QSharedPointer<Controllers::PackageController>::create(
        m_settings, m_downloads, PackageEnvironment{m_server.url({}), m_extractor, m_clock});
}

void Engine::stop()
{
    m_controller.reset();
    m_downloads.reset();
    m_network.reset();
}

bool Engine::restart()
{
    stop();
    return refresh();
}

bool Engine::refresh()
{
    serveCatalogue();
    return refreshAsServed();
}

bool Engine::refreshAsServed()
{
    if (!m_controller)
        start();
    QSignalSpy listed(m_controller.data(), &Controllers::PackageController::list);
    m_controller->refresh();
    return listed.wait(m_patience);
}

QString Engine::install(int id, const QString &version)
{
    QString meant = version;
    m_controller->install(package(id), meant);
    return meant;
}

bool Engine::waitUntilSettled(int id)
{
    const Models::PackagePointer watched = package(id);
    return runUntil([&watched] { return !watched->isBusy(); }, m_patience) &&
           runUntil([this] { return !m_controller->isBusy(); }, m_patience);
}

bool Engine::waitForState(int id, Package::State state)
{
    const Models::PackagePointer watched = package(id);
    return runUntil([&watched, state] { return watched->state() == state; }, m_patience);
}

bool Engine::waitUntilInstalled(int id)
{
    return waitForState(id, Package::INSTALLED) && waitUntilSettled(id);
}

bool Engine::installUntilDownloading(int id, const QString &version)
{
    install(id, version);
    return waitForState(id, Package::DOWNLOADING);
}

bool Engine::installAndWait(int id, const QString &version)
{
    install(id, version);
    return waitUntilSettled(id) && package(id)->state() == Package::INSTALLED;
}

int Engine::recordedStatus(int id) const
{
    const QVariant status = recorded(id, "status"_s);
    return status.isValid() ? status.toInt() : -1;
}

QString Engine::recordedVersion(int id) const
{
    return QString::fromUtf8(recorded(id, "version"_s).toByteArray());
}

QString Engine::wholeVersion(int id) const
{
    QString version;
    read("SELECT version FROM whole_versions WHERE package_id = %1"_s.arg(id),
         [&version](const QSqlQuery &row) { version = row.value(0).toString(); });
    return version;
}

QHash<int, Engine::Record> Engine::records() const
{
    QHash<int, Record> records;
    read("SELECT package_id, status, version FROM packages"_s, [&records](const QSqlQuery &row) {
        records.insert(row.value(0).toInt(),
                       {row.value(1).toInt(), QString::fromUtf8(row.value(2).toByteArray())});
    });
    return records;
}

QString Engine::fileOf(int id)
{
    return "package-%1/file.txt"_s.arg(id);
}

QByteArray Engine::contentOf(int id, const QString &version)
{
    return "package " + QByteArray::number(id) + " version " + version.toUtf8();
}

bool Engine::hasFile(int id) const
{
    return QFile::exists(simulator(fileOf(id)));
}

QJsonObject Engine::versionObject(const Offer &offer) const
{
    QJsonObject version{{"version"_s, offer.version},
                        {"link"_s, m_server.url(pathOf(offer))},
                        {"depends"_s, toArray(offer.depends)},
                        {"log"_s, toArray(offer.log)},
                        {"install"_s, QJsonObject{{"extract"_s, offer.extract},
                                                  {"preserve"_s, toArray(offer.preserve)},
                                                  {"backup"_s, toArray(offer.backup)}}},
                        {"uninstall"_s, QJsonObject{{"remove"_s, toArray(offer.remove)}}}};
    for (auto key = offer.more.constBegin(); key != offer.more.constEnd(); ++key)
        version.insert(key.key(), key.value());
    return version;
}

QVariant Engine::recorded(int id, const QString &column) const
{
    QVariant value;
    read("SELECT %1 FROM packages WHERE package_id = %2"_s.arg(column).arg(id),
         [&value](const QSqlQuery &row) { value = row.value(0); });
    return value;
}

/// Executes the statement on "packages.db" over its own connection, like another program, and calls
/// `take` for each row.
void Engine::read(const QString &select, const std::function<void(const QSqlQuery &)> &take) const
{
    const QString connection = "engine reader"_s;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, connection);
        database.setDatabaseName(m_profile.dataFolder() + "packages.db"_s);
        database.open();
        QSqlQuery query(select, database);
        while (query.next())
            take(query);
    }
    QSqlDatabase::removeDatabase(connection);
}

} // namespace Kavo::Testing
