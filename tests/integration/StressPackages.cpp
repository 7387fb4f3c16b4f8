#include "tests/integration/StressPackages.h"

#include <QJsonArray>
#include <QTemporaryDir>

#include <algorithm>

namespace Kavo::Testing {

namespace {

/// The network layer opens no more than six connections to one server. A package may have two
/// archives on their way: one of its own and another version for the package that shares it.
constexpr int PackagesOnOneServer = 3;

bool cannotBeUnpacked(int id)
{
    return id % 50 == 7;
}

bool cannotBeFetched(int id)
{
    return id % 50 == 11;
}

/// The package unpacks the archive of the one before it into a folder of its own.
bool sharesArchive(int id)
{
    return id % 25 == 18;
}

QString folder(int id)
{
    return (sharesArchive(id) ? QStringLiteral("shared-%1") : QStringLiteral("package-%1")).arg(id);
}

/// Of the texts those that are not empty.
QJsonArray list(QStringList texts)
{
    texts.removeAll(QString());
    return QJsonArray::fromStringList(texts);
}

/// Without a program of its own: one process for each of thousands of archives takes too long.
QByteArray archiveOf(const Files &files)
{
    QVector<TarEntry> entries;
    for (auto file = files.cbegin(); file != files.cend(); ++file)
        entries.append({TarEntry::FILE, file.key().toUtf8(), file.value()});
    const QTemporaryDir place;
    const QString path = place.filePath(QStringLiteral("archive.tar"));
    if (!makeTar(path, entries))
        qFatal("The archive cannot be made");
    return readFile(path);
}

} // namespace

StressPackages::StressPackages(int count) : m_count(count)
{
    const int servers = count / PackagesOnOneServer + 1;
    for (int number = 0; number < servers; ++number)
        m_servers.push_back(std::make_unique<TestHttpServer>());
    for (int id = 1; id <= count; ++id) {
        for (const QString &version : versions())
            serve(id, version);
    }
}

QStringList StressPackages::versions()
{
    return {QStringLiteral("1.0"), QStringLiteral("2.0")};
}

void StressPackages::serve(int id, const QString &version)
{
    if (sharesArchive(id))
        return;
    HttpResource &resource = server(id).serve(path(id, version), archiveOf(files(id, version)));
    if (isSound(id, version))
        return;
    if (cannotBeUnpacked(id)) {
        resource.body = "no archive";
    } else {
        // The probe says nothing, so that this failure, too, comes with the held answer.
        resource.headStatus = 200;
        resource.getStatus = 404;
    }
}

QJsonObject StressPackages::object(int id) const
{
    QJsonArray objects;
    for (const QString &version : versions()) {
        const QString depends = dependency(id) > 0 ? QString::number(dependency(id)) : QString();
        const QString extract = sharesArchive(id) ? folder(id) : QString();
        objects.append(QJsonObject{
            {QStringLiteral("version"), version},
            {QStringLiteral("link"), server(source(id)).url(path(source(id), version))},
            {QStringLiteral("depends"), list({depends})},
            {QStringLiteral("install"),
             QJsonObject{{QStringLiteral("extract"), extract},
                         {QStringLiteral("preserve"), list({settingsFile(id)})},
                         {QStringLiteral("backup"), list({original(id)})}}},
            {QStringLiteral("uninstall"),
             QJsonObject{{QStringLiteral("remove"), list({folder(id), original(id)})}}}});
    }
    return {{QStringLiteral("id"), id},
            {QStringLiteral("name"),
             QJsonObject{{QStringLiteral("en"), QStringLiteral("package-%1").arg(id)}}},
            {QStringLiteral("versions"), objects}};
}

Files StressPackages::files(int id, const QString &version)
{
    if (sharesArchive(id)) {
        Files files;
        const Files shared = StressPackages::files(source(id), version);
        for (auto file = shared.cbegin(); file != shared.cend(); ++file)
            files.insert(folder(id) + QLatin1Char('/') + file.key(), file.value());
        return files;
    }
    const QByteArray content = "package " + QByteArray::number(id) + " version " + version.toUtf8();
    Files files{{mark(id), content},
                {folder(id) + QStringLiteral("/only-in-") + version, content + " alone"}};
    if (!original(id).isEmpty())
        files.insert(original(id), content + " in its place");
    return files;
}

QString StressPackages::mark(int id)
{
    if (sharesArchive(id))
        return folder(id) + QLatin1Char('/') + mark(source(id));
    return folder(id) + QStringLiteral("/file.txt");
}

int StressPackages::dependency(int id)
{
    // What keeps settings never goes with another package, so that the user's file has one fate.
    return id % 7 == 0 && settingsFile(id).isEmpty() ? id / 2 : 0;
}

QString StressPackages::settingsFile(int id)
{
    return id % 10 == 4 ? folder(id) + QStringLiteral("/settings.ini") : QString();
}

QString StressPackages::original(int id)
{
    return id % 10 == 5 ? QStringLiteral("Custom/original-%1.txt").arg(id) : QString();
}

QByteArray StressPackages::originalContent(int id)
{
    return "other people's file " + QByteArray::number(id);
}

bool StressPackages::isSound(int id, const QString &version)
{
    return version != QLatin1String("2.0") || !(cannotBeUnpacked(id) || cannotBeFetched(id));
}

QStringList StressPackages::archives(int id)
{
    QStringList names;
    for (const QString &version : versions())
        names.append(path(source(id), version).mid(1));
    return names;
}

void StressPackages::hold()
{
    for (int id = 1; id <= m_count; ++id) {
        for (const QString &version : versions())
            server(source(id)).resource(path(source(id), version)).holdsGet = true;
    }
    for (const auto &server : m_servers)
        server->forgetRequests();
}

void StressPackages::release()
{
    for (int id = 1; id <= m_count; ++id) {
        for (const QString &version : versions())
            server(source(id)).release(path(source(id), version));
    }
}

int StressPackages::requestedArchives() const
{
    int requested = 0;
    for (const auto &server : m_servers) {
        const QList<HttpRequest> &requests = server->requests();
        requested += static_cast<int>(
            std::count_if(requests.cbegin(), requests.cend(),
                          [](const HttpRequest &request) { return request.method == "GET"; }));
    }
    return requested;
}

int StressPackages::source(int id)
{
    return sharesArchive(id) ? id - 1 : id;
}

QString StressPackages::path(int id, const QString &version)
{
    return QStringLiteral("/package-%1-%2.tar").arg(id).arg(version);
}

TestHttpServer &StressPackages::server(int id) const
{
    return *m_servers.at(static_cast<std::size_t>(id) % m_servers.size());
}

} // namespace Kavo::Testing
