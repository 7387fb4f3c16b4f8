#include "tests/integration/AddOnUser.h"

#include "core/FileCopy.h"
#include "tests/integration/DemonstrationAddOns.h"
#include "tests/packages/UpdateSetup.h"
#include "tests/support/Literals.h"

#include <QDir>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <tuple>

namespace Kavo::Testing {

namespace {

constexpr QFile::Permissions OwnersOnly = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions Program = OwnersOnly | QFile::ExeOwner | QFile::ReadGroup |
                                       QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;

/// Removes the permissions of the current user, which Qt reports in addition to the owner's.
QFile::Permissions withoutAsker(QFile::Permissions permissions)
{
    return permissions & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
}

/// Replaces a folder by a copy of another one. Returns success.
bool copyFolder(const QString &from, const QString &to)
{
    return QDir(to).removeRecursively() && QProcess::execute("cp"_s, {"-a"_s, from, to}) == 0;
}

QString integrityOf(const QString &path)
{
    const QString connection = "integrity reader"_s;
    QString answer = "cannot be read"_s;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, connection);
        database.setDatabaseName(path);
        database.open();
        QSqlQuery query("PRAGMA integrity_check"_s, database);
        if (query.next())
            answer = query.value(0).toString();
    }
    QSqlDatabase::removeDatabase(connection);
    return answer;
}

} // namespace

AddOnUser::AddOnUser(Offered offered, const AddOnSizes &sizes, quint32 seed)
    : m_ownBytes(sizes.ownBytes)
    , m_random(seed)
{
    switch (offered) {
    case Offered::Own:
        m_addOns = offerOwnAddOns(m_engine, sizes, seed);
        break;
    case Offered::Demonstration:
        m_addOns = offerDemonstration(m_engine);
        break;
    }
    writeOthersFiles();
    writeOriginals();
}

QStringList AddOnUser::arguments(const QString &order)
{
    return QStringList{m_engine.server().url({}), m_engine.simulator({})} +
           order.split(QLatin1Char(' '));
}

void AddOnUser::takeAsDone(const QString &order)
{
    const AddOns::Installed before = std::exchange(m_installed, after(order));
    const QStringList kept = preserved();
    for (const QString &path : m_own.keys()) {
        if (!kept.contains(path))
            m_own.remove(path);
    }
    // The backups of an add-on are restored before it is replaced or removed.
    for (const int id : before.keys()) {
        if (m_installed.value(id) == before.value(id))
            continue;
        for (const QString &path : m_addOns.version(id, before.value(id)).backup)
            m_gone.remove(path);
    }
}

void AddOnUser::fly()
{
    m_own.clear();
    for (const QString &path : preserved())
        writeKept(m_own, path, OwnersOnly);
    for (const QString &path : backedUp()) {
        // Any other content is an add-on's.
        const bool stands = readFile(m_engine.simulator(path)) == m_originals.value(path).content;
        if (stands && m_random() % 2 == 0 && QFile::remove(m_engine.simulator(path)))
            m_gone.insert(path);
    }
}

void AddOnUser::holdProbes()
{
    for (HttpResource *archive : archives())
        archive->holdsHead = true;
}

void AddOnUser::holdArchives(double share)
{
    for (HttpResource *archive : archives())
        archive->holdAfter = static_cast<qint64>(share * static_cast<double>(archive->size()));
}

void AddOnUser::holdNothing()
{
    for (HttpResource *archive : archives()) {
        archive->holdsHead = false;
        archive->holdAfter.reset();
    }
}

QString AddOnUser::faultAfterDeath(const QString &order)
{
    const QString simulator = m_engine.simulator({});
    for (auto file = m_others.cbegin(); file != m_others.cend(); ++file) {
        if (readFile(simulator + file.key()) != file.value())
            return "has changed: "_s + file.key();
    }
    KeptFiles kept = m_originals;
    const bool removes = order.startsWith("uninstall"_s);
    // A removal also deletes the user's files.
    if (!removes)
        kept.unite(m_own);
    for (auto file = kept.cbegin(); file != kept.cend(); ++file) {
        const QString parked = m_originals.contains(file.key())
                                   ? m_engine.profile().backupFolder() + file.key()
                                   : m_engine.profile().preserveFolder() + file.key();
        if (readFile(parked) != file->content && readFile(simulator + file.key()) != file->content)
            return "is lost: "_s + file.key();
        if (QFile::exists(parked) && readFile(parked) != file->content)
            return "wrong content in the copy: "_s + parked;
    }
    return faultInCache();
}

QString AddOnUser::faultOnceStarted(const QString &order, int *unseen)
{
    const AddOns::Installed left = after(order);
    QString fault = m_engine.refreshAsServed() ? QString() : "the package list cannot be loaded"_s;
    for (const int id : m_addOns.ids()) {
        if (fault.isEmpty())
            fault = faultInShown(id, isInstalled(id) && !left.contains(id), unseen);
    }
    m_engine.stop();
    return fault;
}

QString AddOnUser::faultWhenDone()
{
    for (const QString &fault :
         {differences(fileTree(m_engine.simulator({})), wantedTree()).join("; "_s),
          faultInKept(m_own, m_engine.simulator({})), faultInBackups(), faultInCache(),
          faultInDatabases(), strayFile()}) {
        if (!fault.isEmpty())
            return fault;
    }
    return QString();
}

bool AddOnUser::save(const QString &folder)
{
    m_saved = {m_own, m_gone, m_installed};
    return copyFolder(m_engine.profile().home(), folder);
}

bool AddOnUser::load(const QString &folder)
{
    std::tie(m_own, m_gone, m_installed) = m_saved;
    return copyFolder(folder, m_engine.profile().home());
}

void AddOnUser::writeOthersFiles()
{
    Files files;
    for (const char *path :
         {"Custom Scenery/Another Field/readme.txt", "Custom Scenery/scenery_packs.ini",
          "Output/preferences/Views.prf", "Resources/plugins/Friendly Copilot/lin.xpl",
          "Resources/bitmaps/other.png", "Resources/sounds/horn.wav"})
        files.insert(QString::fromLatin1(path), newContent(1000));
    if (!writeFiles(m_engine.simulator({}), files))
        qFatal("The files of the simulator cannot be written");
    m_others = readFiles(m_engine.simulator({}));
}

void AddOnUser::writeOriginals()
{
    for (const AddOns::Version &version : m_addOns.versions()) {
        for (const QString &path : version.backup) {
            if (!m_originals.contains(path))
                writeKept(m_originals, path, OwnersOnly | QFile::ReadGroup);
            m_others.remove(path);
        }
    }
}

/// Writes a file with new content and records it. The first file of a list is executable.
void AddOnUser::writeKept(KeptFiles &files, const QString &path, QFile::Permissions permissions)
{
    const Kept file{newContent(m_ownBytes), files.isEmpty() ? Program : permissions};
    const QString target = m_engine.simulator(path);
    if (!writeFile(target, file.content) || !QFile::setPermissions(target, file.permissions))
        qFatal("A file of the user or the simulator cannot be written");
    files.insert(path, file);
}

QByteArray AddOnUser::newContent(int size)
{
    return noise(static_cast<quint32>(m_random()), size);
}

QVector<HttpResource *> AddOnUser::archives()
{
    QVector<HttpResource *> found;
    for (const AddOns::Version &version : m_addOns.versions())
        found.append(&m_engine.server().resource(version.archive));
    return found;
}

/// The files of the user that the installed add-ons preserve.
QStringList AddOnUser::preserved() const
{
    QStringList paths;
    for (const AddOns::Version &version : m_addOns.versions(m_installed))
        paths += version.preserve;
    return paths;
}

/// The files of the simulator that the installed add-ons have backed up.
QSet<QString> AddOnUser::backedUp() const
{
    QSet<QString> paths;
    for (const AddOns::Version &version : m_addOns.versions(m_installed)) {
        for (const QString &path : version.backup)
            paths.insert(path);
    }
    return paths;
}

/// What is installed after the command.
AddOns::Installed AddOnUser::after(const QString &order) const
{
    AddOns::Installed installed = m_installed;
    const QStringList packages = order.split(QLatin1Char(' ')).mid(1);
    for (const QString &package : packages) {
        const int id = package.section(QLatin1Char(':'), 0, 0).toInt();
        if (order.startsWith("uninstall"_s))
            m_addOns.uninstall(installed, id);
        else
            m_addOns.install(installed, id, package.section(QLatin1Char(':'), 1));
    }
    return installed;
}

/// Whether all files of a version are in the simulator, including those of the user.
bool AddOnUser::isWhole(int id, const QString &version) const
{
    const AddOns::Version &wanted = m_addOns.version(id, version);
    Files files = wanted.files;
    for (const QString &path : wanted.preserve) {
        if (m_own.contains(path))
            files.insert(path, m_own.value(path).content);
    }
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QByteArray found = readFile(m_engine.simulator(file.key()));
        // The archive's file may be there instead of the user's, of which a copy exists.
        if (found != file.value() && found != wanted.files.value(file.key(), file.value()))
            return false;
    }
    return true;
}

/// What is wrong with a package on the next start. One whose removal was interrupted is still
/// shown, so that the removal can be repeated, and may be incomplete.
QString AddOnUser::faultInShown(int id, bool isRemoved, int *unseen)
{
    if (isRemoved)
        return QString();
    const QString shown = m_engine.controller().installedVersion(m_engine.package(id));
    if (!shown.isEmpty()) {
        return isWhole(id, shown)
                   ? QString()
                   : "%1 of package %2 is shown, but incomplete"_s.arg(shown).arg(id);
    }
    const QString before = m_installed.value(id);
    if (before.isEmpty() || !isWhole(id, before))
        return QString();
    if (!m_engine.wholeVersion(id).isEmpty())
        return "%1 of package %2 is complete, but not shown"_s.arg(before).arg(id);
    ++*unseen;
    return QString();
}

FileTree AddOnUser::wantedTree() const
{
    Files files = m_others;
    for (auto file = m_originals.cbegin(); file != m_originals.cend(); ++file) {
        if (!m_gone.contains(file.key()))
            files.insert(file.key(), file->content);
    }
    for (const AddOns::Version &version : m_addOns.versions(m_installed))
        files.insert(version.files);
    for (auto file = m_own.cbegin(); file != m_own.cend(); ++file)
        files.insert(file.key(), file->content);
    FileTree tree = expectedTree(files);
    // A folder remains when its only file is deleted.
    for (const QString &path : m_gone)
        tree.insert(path.section(QLatin1Char('/'), 0, -2) + QLatin1Char('/'), QString());
    return tree;
}

QString AddOnUser::faultInKept(const KeptFiles &files, const QString &folder)
{
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString path = folder + file.key();
        if (readFile(path) != file->content)
            return "has lost its content: "_s + path;
        if (withoutAsker(QFile::permissions(path)) != file->permissions)
            return "has lost its permissions: "_s + path;
    }
    return QString();
}

/// An original is in the backup folder while an add-on that replaces it is installed, and otherwise
/// in the simulator.
QString AddOnUser::faultInBackups()
{
    const QString backups = m_engine.profile().backupFolder();
    const QSet<QString> parked = backedUp();
    const QStringList copies = filesOf(fileTree(backups)).keys();
    if (copies.size() != parked.size())
        return "%1 files are in the backup folder"_s.arg(copies.size());
    QStringList marked = copies;
    for (const QString &copy : copies) {
        for (const char *purpose : {"owner", "settled", "users"})
            marked.append(hiddenBeside("./"_s + copy, QLatin1String(purpose)));
    }
    for (const QString &name : filesUnder(backups)) {
        if (!marked.contains(name) && !marked.contains("./"_s + name))
            return "marker without a backup: "_s + name;
    }
    KeptFiles inBackups;
    KeptFiles inSimulator;
    for (auto file = m_originals.cbegin(); file != m_originals.cend(); ++file)
        (parked.contains(file.key()) ? inBackups : inSimulator).insert(file.key(), *file);
    const QString fault = faultInKept(inBackups, backups);
    return fault.isEmpty() ? faultInKept(inSimulator, m_engine.simulator({})) : fault;
}

/// Each file in the cache must be a file of the server, or the beginning of one.
QString AddOnUser::faultInCache()
{
    const QString cache = m_engine.profile().cacheFolder();
    QStringList paths{"/packages.json"_s};
    for (const AddOns::Version &version : m_addOns.versions())
        paths.append(version.archive);
    for (const QString &name : filesUnder(cache)) {
        const QStringList served = paths.filter(QLatin1Char('/') + name);
        if (served.isEmpty() ||
            !m_engine.server().resource(served.first()).body.startsWith(readFile(cache + name)))
            return "wrong content in the cache: "_s + name;
    }
    return QString();
}

QString AddOnUser::faultInDatabases()
{
    const QString data = m_engine.profile().dataFolder();
    for (const QString &name : {"packages.db"_s, "download.db"_s}) {
        const QString integrity = integrityOf(data + name);
        if (integrity != "ok"_s)
            return name + ": "_s + integrity;
    }
    for (const int id : m_addOns.ids()) {
        const bool installed = isInstalled(id);
        const int status = m_engine.recordedStatus(id);
        // The status is 0 after a removal, and negative without a record.
        if (installed ? status != 1 : status > 0)
            return "package %1 has the recorded status %2"_s.arg(id).arg(status);
        if (installed && m_engine.recordedVersion(id) != m_installed.value(id))
            return "package %1 has another recorded version"_s.arg(id);
    }
    return QString();
}

QString AddOnUser::strayFile()
{
    const QDir home(m_engine.profile().home());
    const QString data = home.relativeFilePath(m_engine.profile().dataFolder());
    const QString answers = ".cache/Quarnell/Kavo Suite/http/"_s;
    const QStringList known{".config/Quarnell/Kavo Suite.ini"_s, data + "/packages.db"_s,
                            data + "/download.db"_s, data + "/log.txt"_s,
                            data + "/cache/packages.json"_s};
    for (const QString &path : filesUnder(home.path())) {
        // Cached HTTP answers may remain.
        const bool checked = path.startsWith("X-Plane/"_s) ||
                             path.startsWith(data + "/backup/"_s) || path.startsWith(answers);
        if (!checked && !known.contains(path))
            return "left over: "_s + path;
    }
    return QString();
}

} // namespace Kavo::Testing
