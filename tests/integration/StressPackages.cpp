#include "tests/integration/StressPackages.h"
#include "tests/support/Archives.h"
#include "tests/support/Literals.h"

#include <QJsonArray>

#include <algorithm>

namespace Kavo::Testing {

namespace {

/// Qt opens at most six connections to a server. A package may fetch two archives at once: its own,
/// and another version for the package that shares it.
constexpr int PackagesOnOneServer = 3;

bool cannotBeUnpacked(int id)
{
    return id % 50 == 7;
}

bool cannotBeFetched(int id)
{
    return id % 50 == 11;
}

/// Whether the package uses the archive of the previous id, unpacked into another folder.
bool sharesArchive(int id)
{
    return id % 25 == 18;
}

QString folder(int id)
{
    return (sharesArchive(id) ? "shared-%1"_s : "package-%1"_s).arg(id);
}

/// A JSON array of the texts that are not empty.
QJsonArray list(QStringList texts)
{
    texts.removeAll(QString());
    return QJsonArray::fromStringList(texts);
}

/// Creates the archive without a process, because thousands of processes would take too long.
QByteArray archiveOf(const Files &files)
{
    QVector<TarEntry> entries;
    for (auto file = files.cbegin(); file != files.cend(); ++file)
        entries.append({TarEntry::FILE, file.key().toUtf8(), file.value()});
    return tarOf(entries);
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
    return {"1.0"_s, "2.0"_s};
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
        // The probe succeeds, so that the failure arrives with the answer that was held back.
        resource.headStatus = HttpStatus::OK;
        resource.getStatus = HttpStatus::NOT_FOUND;
    }
}

QJsonObject StressPackages::object(int id) const
{
    QJsonArray objects;
    for (const QString &version : versions()) {
        const QString depends = dependency(id) > 0 ? QString::number(dependency(id)) : QString();
        const QString extract = sharesArchive(id) ? folder(id) : QString();
        objects.append(QJsonObject{
            {"version"_s, version},
            {"link"_s, server(source(id)).url(path(source(id), version))},
            {"depends"_s, list({depends})},
            {"install"_s, QJsonObject{{"extract"_s, extract},
                                      {"preserve"_s, list({settingsFile(id)})},
                                      {"backup"_s, list({original(id)})}}},
            {"uninstall"_s, QJsonObject{{"remove"_s, list({folder(id), original(id)})}}}});
    }
    return {{"id"_s, id},
            {"name"_s, QJsonObject{{"en"_s, "package-%1"_s.arg(id)}}},
            {"versions"_s, objects}};
}

Files StressPackages::files(int id, const QString &version)
{
    if (sharesArchive(id))
        return filesIn(folder(id), files(source(id), version));
    const QByteArray content = "package " + QByteArray::number(id) + " version " + version.toUtf8();
    Files own{{mark(id), content}, {folder(id) + "/only-in-"_s + version, content + " alone"}};
    if (!original(id).isEmpty())
        own.insert(original(id), content + " in its place");
    return own;
}

QString StressPackages::mark(int id)
{
    if (sharesArchive(id))
        return folder(id) + QLatin1Char('/') + mark(source(id));
    return folder(id) + "/file.txt"_s;
}

int StressPackages::dependency(int id)
{
    // Packages with settings have no dependency, so they are never removed with another package,
    // which would also delete the user's file.
    return id % 7 == 0 && settingsFile(id).isEmpty() ? id / 2 : 0;
}

QString StressPackages::settingsFile(int id)
{
    return id % 10 == 4 ? folder(id) + "/settings.ini"_s : QString();
}

QString StressPackages::original(int id)
{
    return id % 10 == 5 ? "Custom/original-%1.txt"_s.arg(id) : QString();
}

QByteArray StressPackages::originalContent(int id)
{
    return "other people's file " + QByteArray::number(id);
}

bool StressPackages::isSound(int id, const QString &version)
{
    return version != "2.0"_s || !(cannotBeUnpacked(id) || cannotBeFetched(id));
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
    return "/package-%1-%2.tar"_s.arg(id).arg(version);
}

TestHttpServer &StressPackages::server(int id) const
{
    return *m_servers.at(static_cast<std::size_t>(id) % m_servers.size());
}

} // namespace Kavo::Testing
