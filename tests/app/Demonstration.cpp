#include "tests/app/Demonstration.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>
#include <QVersionNumber>

namespace Kavo::Testing {

namespace {

bool runTool(const QString &program, const QStringList &arguments)
{
    constexpr int Limit = 60000;
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool succeeded = process.waitForFinished(Limit) &&
                           process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!succeeded)
        qWarning("%s: %s", qUtf8Printable(program), process.readAll().constData());
    return succeeded;
}

QString tool(const QString &name)
{
    return QStringLiteral(KAVO_DEMO_FOLDER "/") + name;
}

Demonstration::Entry entryOf(const QJsonObject &object)
{
    Demonstration::Entry entry;
    entry.id = object.value("id"_s).toInt();
    const QJsonObject names = object.value("name"_s).toObject();
    for (auto name = names.begin(); name != names.end(); ++name)
        entry.names.insert(name.key(), name.value().toString());
    entry.icon = object.value("icon"_s).toString();
    entry.help = object.value("help_url"_s).toString();
    entry.manual = object.value("manual_url"_s).toString();
    for (const QJsonValue value : object.value("versions"_s).toArray()) {
        const QJsonObject version = value.toObject();
        const QString text = version.value("version"_s).toString();
        const QJsonObject install = version.value("install"_s).toObject();
        entry.archives.insert(text,
                              version.value("link"_s).toString().section(QLatin1Char('/'), -1));
        if (QVersionNumber::fromString(entry.newest) < QVersionNumber::fromString(text)) {
            entry.newest = text;
            entry.folder = install.value("extract"_s).toString() + QLatin1Char('/');
        }
    }
    // The library has its version file in a subfolder.
    entry.versionFile =
        entry.folder + (entry.id == 1 ? "lib/Kavo_Library/"_s : QString()) + "Kavo_version.txt"_s;
    return entry;
}

} // namespace

Demonstration::Demonstration() : m_simulator(m_profile.folder("home/Simulator"_s))
{
    m_ready = make();
}

QString Demonstration::archive(const QString &name) const
{
    return m_server.folder() + "archives/"_s + name;
}

const Demonstration::Entry &Demonstration::entry(int id) const
{
    for (const Entry &candidate : m_entries) {
        if (candidate.id == id)
            return candidate;
    }
    qFatal("The demonstration has no package %d", id);
}

QMap<int, QPair<int, QString>> Demonstration::rows() const
{
    const QString connection = "demonstration"_s;
    const QString file = m_profile.dataFolder() + "packages.db"_s;
    QMap<int, QPair<int, QString>> found;
    if (!QFile::exists(file))
        return found;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, connection);
        database.setConnectOptions("QSQLITE_OPEN_READONLY"_s);
        database.setDatabaseName(file);
        if (database.open()) {
            QSqlQuery query("SELECT package_id, status, version FROM packages"_s, database);
            while (query.next())
                found.insert(query.value(0).toInt(),
                             {query.value(1).toInt(), query.value(2).toString()});
        }
    }
    QSqlDatabase::removeDatabase(connection);
    return found;
}

QString Demonstration::versionOnDisk(int id) const
{
    const QByteArray text = readFile(m_simulator + entry(id).versionFile);
    return QString::fromUtf8(text.split('\n').value(2));
}

void Demonstration::rememberFile(const QString &path)
{
    const QMap<QString, QString> tree = fileTree(m_simulator);
    if (tree.contains(path))
        m_others.insert(path, tree.value(path));
    else
        m_others.remove(path);
}

QMap<QString, QString> Demonstration::expectedSimulator(const QMap<int, QString> &installed)
{
    QMap<QString, QString> tree = m_others;
    for (auto version = installed.begin(); version != installed.end(); ++version) {
        const Entry &package = entry(version.key());
        const auto &files = contents(package.archives.value(version.value()));
        tree.insert(package.folder, QString());
        for (auto file = files.begin(); file != files.end(); ++file)
            tree.insert(package.folder + file.key(), file.value());
    }
    return tree;
}

bool Demonstration::make()
{
    if (!m_server.isRunning() ||
        !runTool(tool("make-demo"_s), {m_server.folder(), m_server.url("/"_s)}) ||
        !runTool(tool("make-simulator"_s), {m_simulator}))
        return false;
    m_others = fileTree(m_simulator);
    m_locate = std::make_unique<StandInLocate>(QStringList{m_simulator + "X-Plane-x86_64"_s});
    return readCatalogue();
}

bool Demonstration::readCatalogue()
{
    const QByteArray text = readFile(m_server.folder() + "packages.json"_s);
    for (const QJsonValue value : QJsonDocument::fromJson(text).array())
        m_entries.append(entryOf(value.toObject()));
    return !m_entries.isEmpty();
}

const QMap<QString, QString> &Demonstration::contents(const QString &archiveName)
{
    auto found = m_contents.find(archiveName);
    if (found == m_contents.end()) {
        const QTemporaryDir folder;
        runTool("/usr/bin/7z"_s, {"x"_s, archive(archiveName), "-o"_s + folder.path()});
        found = m_contents.insert(archiveName, fileTree(folder.path()));
    }
    return *found;
}

} // namespace Kavo::Testing
