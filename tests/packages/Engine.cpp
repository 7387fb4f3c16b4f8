#include "tests/packages/Engine.h"

#include "core/Settings.h"
#include "downloads/DownloadManager.h"
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
    return offer.link.isEmpty()
               ? QStringLiteral("/package-%1-%2.zip").arg(offer.id).arg(offer.version)
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
    m_server.serve(pathOf(offer), archiveOf(files, QStringLiteral("zip")));

    const auto known =
        std::find_if(m_catalogue.begin(), m_catalogue.end(), [&offer](const QJsonObject &object) {
            return object.value(QLatin1String("id")).toInt() == offer.id;
        });
    if (known != m_catalogue.end()) {
        QJsonArray versions = known->value(QLatin1String("versions")).toArray();
        versions.append(versionObject(offer));
        known->insert(QStringLiteral("versions"), versions);
        return;
    }
    m_catalogue.append(
        {{QStringLiteral("id"), offer.id},
         {QStringLiteral("name"),
          QJsonObject{{QStringLiteral("en"), QStringLiteral("package-%1").arg(offer.id)}}},
         {QStringLiteral("versions"), QJsonArray{versionObject(offer)}}});
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
    m_server.serve(QStringLiteral("/packages.json"), QJsonDocument(array).toJson());
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

bool Engine::installAndWait(int id, const QString &version)
{
    install(id, version);
    return waitUntilSettled(id) && package(id)->state() == Package::INSTALLED;
}

int Engine::recordedStatus(int id) const
{
    const QVariant status = recorded(id, QStringLiteral("status"));
    return status.isValid() ? status.toInt() : -1;
}

QString Engine::recordedVersion(int id) const
{
    return QString::fromUtf8(recorded(id, QStringLiteral("version")).toByteArray());
}

QString Engine::wholeVersion(int id) const
{
    QString version;
    read(QStringLiteral("SELECT version FROM whole_versions WHERE package_id = %1").arg(id),
         [&version](const QSqlQuery &row) { version = row.value(0).toString(); });
    return version;
}

QHash<int, Engine::Record> Engine::records() const
{
    QHash<int, Record> records;
    read(QStringLiteral("SELECT package_id, status, version FROM packages"),
         [&records](const QSqlQuery &row) {
             records.insert(row.value(0).toInt(),
                            {row.value(1).toInt(), QString::fromUtf8(row.value(2).toByteArray())});
         });
    return records;
}

QString Engine::fileOf(int id)
{
    return QStringLiteral("package-%1/file.txt").arg(id);
}

QByteArray Engine::contentOf(int id, const QString &version)
{
    return "package " + QByteArray::number(id) + " version " + version.toUtf8();
}

QJsonObject Engine::versionObject(const Offer &offer) const
{
    QJsonObject version{{QStringLiteral("version"), offer.version},
                        {QStringLiteral("link"), m_server.url(pathOf(offer))},
                        {QStringLiteral("depends"), toArray(offer.depends)},
                        {QStringLiteral("log"), toArray(offer.log)},
                        {QStringLiteral("install"),
                         QJsonObject{{QStringLiteral("extract"), offer.extract},
                                     {QStringLiteral("preserve"), toArray(offer.preserve)},
                                     {QStringLiteral("backup"), toArray(offer.backup)}}},
                        {QStringLiteral("uninstall"),
                         QJsonObject{{QStringLiteral("remove"), toArray(offer.remove)}}}};
    for (auto key = offer.more.constBegin(); key != offer.more.constEnd(); ++key)
        version.insert(key.key(), key.value());
    return version;
}

QVariant Engine::recorded(int id, const QString &column) const
{
    QVariant value;
    read(QStringLiteral("SELECT %1 FROM packages WHERE package_id = %2").arg(column).arg(id),
         [&value](const QSqlQuery &row) { value = row.value(0); });
    return value;
}

/// Reads "packages.db" the way another program does.
void Engine::read(const QString &select, const std::function<void(const QSqlQuery &)> &take) const
{
    const QString connection = QStringLiteral("engine reader");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(m_profile.dataFolder() + QStringLiteral("packages.db"));
        database.open();
        QSqlQuery query(select, database);
        while (query.next())
            take(query);
    }
    QSqlDatabase::removeDatabase(connection);
}

} // namespace Kavo::Testing
