#include "tests/integration/AddOnUser.h"

#include "core/FileCopy.h"
#include "tests/integration/DemonstrationAddOns.h"
#include "tests/packages/UpdateSetup.h"

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

/// What the owner may is told twice: once as the owner, once as whoever asks.
QFile::Permissions withoutAsker(QFile::Permissions permissions)
{
    return permissions & ~(QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
}

bool runProgram(const QString &program, const QStringList &arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

QString integrityOf(const QString &path)
{
    const QString connection = QStringLiteral("integrity reader");
    QString answer = QStringLiteral("cannot be read");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(path);
        database.open();
        QSqlQuery query(QStringLiteral("PRAGMA integrity_check"), database);
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
    const AddOns::Installed before = m_installed;
    const QStringList wanted = order.split(QLatin1Char(' ')).mid(1);
    for (const QString &text : wanted) {
        const int id = text.section(QLatin1Char(':'), 0, 0).toInt();
        if (order.startsWith(QLatin1String("uninstall")))
            m_addOns.uninstall(m_installed, id);
        else
            m_addOns.install(m_installed, id, text.section(QLatin1Char(':'), 1));
    }
    const QStringList kept = preserved();
    for (const QString &path : m_own.keys()) {
        if (!kept.contains(path))
            m_own.remove(path);
    }
    // Whatever becomes of an add-on, first its backups return.
    for (auto version = before.cbegin(); version != before.cend(); ++version) {
        if (m_installed.value(version.key()) == version.value())
            continue;
        for (const QString &path : m_addOns.version(version.key(), version.value()).backup)
            m_gone.remove(path);
    }
}

void AddOnUser::fly()
{
    m_own.clear();
    QFile::Permissions permissions = OwnersOnly;
    for (const QString &path : preserved()) {
        const Kept file{newContent(m_ownBytes), permissions};
        if (!writeFile(m_engine.simulator(path), file.content) ||
            !QFile::setPermissions(m_engine.simulator(path), permissions))
            qFatal("The user's file cannot be written");
        m_own.insert(path, file);
        permissions = Program;
    }
    for (const QString &path : backedUp()) {
        // A file in its place belongs to an add-on.
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
            return QStringLiteral("not as it was: ") + file.key();
    }
    KeptFiles kept = m_originals;
    const bool removes = order.startsWith(QLatin1String("uninstall"));
    // The user's files among those of an add-on go with it.
    if (!removes)
        kept.unite(m_own);
    for (auto file = kept.cbegin(); file != kept.cend(); ++file) {
        const QString parked = m_originals.contains(file.key())
                                   ? m_engine.profile().backupFolder() + file.key()
                                   : m_engine.profile().preserveFolder() + file.key();
        if (readFile(parked) != file->content && readFile(simulator + file.key()) != file->content)
            return QStringLiteral("nowhere any more: ") + file.key();
        if (QFile::exists(parked) && readFile(parked) != file->content)
            return QStringLiteral("not the user's: ") + parked;
    }
    return faultInCache();
}

QString AddOnUser::faultOnceStarted(const QString &order, int *unseen)
{
    const AddOns::Installed left = remaining(order);
    QString fault;
    if (!m_engine.refreshAsServed())
        fault = QStringLiteral("lists nothing");
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
         {faultInTree(), faultInKept(m_own, m_engine.simulator({})), faultInBackups(),
          faultInCache(), faultInDatabases(), strayFile()}) {
        if (!fault.isEmpty())
            return fault;
    }
    return QString();
}

bool AddOnUser::save(const QString &folder)
{
    m_saved = {m_own, m_gone, m_installed};
    return QDir(folder).removeRecursively() &&
           runProgram(QStringLiteral("cp"),
                      {QStringLiteral("-a"), m_engine.profile().home(), folder});
}

bool AddOnUser::load(const QString &folder)
{
    std::tie(m_own, m_gone, m_installed) = m_saved;
    const QString home = m_engine.profile().home();
    return QDir(home).removeRecursively() &&
           runProgram(QStringLiteral("cp"), {QStringLiteral("-a"), folder, home});
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
        qFatal("The simulator cannot be made");
    m_others = readFiles(m_engine.simulator({}));
}

void AddOnUser::writeOriginals()
{
    QFile::Permissions permissions = Program;
    for (const QString &path : m_addOns.originals()) {
        const Kept file{newContent(m_ownBytes), permissions};
        const QString target = m_engine.simulator(path);
        if (!writeFile(target, file.content) || !QFile::setPermissions(target, permissions))
            qFatal("A file of the simulator cannot be written");
        m_originals.insert(path, file);
        m_others.remove(path);
        permissions = OwnersOnly | QFile::ReadGroup;
    }
}

QByteArray AddOnUser::newContent(int size)
{
    return noise(static_cast<quint32>(m_random()), size);
}

QVector<HttpResource *> AddOnUser::archives()
{
    QVector<HttpResource *> found;
    for (const QString &path : m_addOns.archives())
        found.append(&m_engine.server().resource(path));
    return found;
}

/// The files that the installed add-ons keep for the user.
QStringList AddOnUser::preserved() const
{
    QStringList paths;
    for (auto version = m_installed.cbegin(); version != m_installed.cend(); ++version)
        paths += m_addOns.version(version.key(), version.value()).preserve;
    return paths;
}

/// The files of the simulator that the installed add-ons have backed up.
QSet<QString> AddOnUser::backedUp() const
{
    QSet<QString> paths;
    for (auto version = m_installed.cbegin(); version != m_installed.cend(); ++version) {
        for (const QString &path : m_addOns.version(version.key(), version.value()).backup)
            paths.insert(path);
    }
    return paths;
}

/// What an order leaves of what was installed before it.
AddOns::Installed AddOnUser::remaining(const QString &order) const
{
    AddOns::Installed left = m_installed;
    if (order.startsWith(QLatin1String("uninstall"))) {
        for (const QString &id : order.split(QLatin1Char(' ')).mid(1))
            m_addOns.uninstall(left, id.toInt());
    }
    return left;
}

/// Whether every file of a version stands in its place, and every one of the user's among them.
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
        // A file of the archive takes the place of the user's, whose copy stays.
        if (found != file.value() && found != wanted.files.value(file.key(), file.value()))
            return false;
    }
    return true;
}

/// A package whose removal has begun is shown until the removal is done, so that it can be done.
QString AddOnUser::faultInShown(int id, bool isRemoved, int *unseen)
{
    if (isRemoved)
        return QString();
    const QString shown = m_engine.controller().installedVersion(m_engine.package(id));
    if (!shown.isEmpty()) {
        return isWhole(id, shown) ? QString()
                                  : QStringLiteral("%1 of package %2 is shown, but not all there")
                                        .arg(shown)
                                        .arg(id);
    }
    const QString before = m_installed.value(id);
    if (before.isEmpty() || !isWhole(id, before))
        return QString();
    if (!m_engine.wholeVersion(id).isEmpty())
        return QStringLiteral("%1 of package %2 is all there, but not shown").arg(before).arg(id);
    ++*unseen;
    return QString();
}

QMap<QString, QString> AddOnUser::wantedTree() const
{
    Files files = m_others;
    for (auto file = m_originals.cbegin(); file != m_originals.cend(); ++file) {
        if (!m_gone.contains(file.key()))
            files.insert(file.key(), file->content);
    }
    for (auto version = m_installed.cbegin(); version != m_installed.cend(); ++version) {
        const Files &added = m_addOns.version(version.key(), version.value()).files;
        for (auto file = added.cbegin(); file != added.cend(); ++file)
            files.insert(file.key(), file.value());
    }
    for (auto file = m_own.cbegin(); file != m_own.cend(); ++file)
        files.insert(file.key(), file->content);
    QMap<QString, QString> tree = expectedTree(files);
    // A folder stays that has lost its only file.
    for (const QString &path : m_gone)
        tree.insert(path.section(QLatin1Char('/'), 0, -2) + QLatin1Char('/'), QString());
    return tree;
}

QString AddOnUser::faultInTree()
{
    const auto wanted = wantedTree();
    const auto found = fileTree(m_engine.simulator({}));
    for (auto entry = wanted.cbegin(); entry != wanted.cend(); ++entry) {
        if (!found.contains(entry.key()))
            return QStringLiteral("missing in the simulator: ") + entry.key();
        if (found.value(entry.key()) != entry.value())
            return QStringLiteral("not as it has to be: ") + entry.key();
    }
    for (auto entry = found.cbegin(); entry != found.cend(); ++entry) {
        if (!wanted.contains(entry.key()))
            return QStringLiteral("left over in the simulator: ") + entry.key();
    }
    return QString();
}

QString AddOnUser::faultInKept(const KeptFiles &files, const QString &folder)
{
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString path = folder + file.key();
        if (readFile(path) != file->content)
            return QStringLiteral("has lost its content: ") + path;
        if (withoutAsker(QFile::permissions(path)) != file->permissions)
            return QStringLiteral("has lost its permissions: ") + path;
    }
    return QString();
}

/// The originals stand in the backup folder while an add-on that has backed them up is installed,
/// and in the simulator otherwise.
QString AddOnUser::faultInBackups()
{
    const QString backups = m_engine.profile().backupFolder();
    const QSet<QString> parked = backedUp();
    const QStringList copies = unmarkedFilesUnder(backups);
    if (copies.size() != parked.size())
        return QStringLiteral("%1 files are parked").arg(copies.size());
    QStringList marked = copies;
    for (const QString &copy : copies) {
        for (const char *purpose : {"owner", "settled", "users"})
            marked.append(hiddenBeside(QLatin1String("./") + copy, QLatin1String(purpose)));
    }
    for (const QString &name : filesUnder(backups)) {
        if (!marked.contains(name) && !marked.contains(QLatin1String("./") + name))
            return QStringLiteral("mark without a copy: ") + name;
    }
    KeptFiles inBackups;
    KeptFiles inSimulator;
    for (auto file = m_originals.cbegin(); file != m_originals.cend(); ++file)
        (parked.contains(file.key()) ? inBackups : inSimulator).insert(file.key(), *file);
    const QString fault = faultInKept(inBackups, backups);
    return fault.isEmpty() ? faultInKept(inSimulator, m_engine.simulator({})) : fault;
}

/// What lies in the cache is the beginning of an archive, or the whole of it.
QString AddOnUser::faultInCache()
{
    const QString cache = m_engine.profile().cacheFolder();
    const QStringList paths = m_addOns.archives() + QStringList(QStringLiteral("/packages.json"));
    for (const QString &name : filesUnder(cache)) {
        const QStringList served = paths.filter(QLatin1Char('/') + name);
        if (served.isEmpty() ||
            !m_engine.server().resource(served.first()).body.startsWith(readFile(cache + name)))
            return QStringLiteral("mixed up in the cache: ") + name;
    }
    return QString();
}

QString AddOnUser::faultInDatabases()
{
    const QString data = m_engine.profile().dataFolder();
    for (const QString &name : {QStringLiteral("packages.db"), QStringLiteral("download.db")}) {
        const QString integrity = integrityOf(data + name);
        if (integrity != QLatin1String("ok"))
            return name + QStringLiteral(": ") + integrity;
    }
    for (const int id : m_addOns.ids()) {
        const bool installed = isInstalled(id);
        const int status = m_engine.recordedStatus(id);
        // Neither a package that was removed nor one without a record is installed.
        if (installed ? status != 1 : status > 0)
            return QStringLiteral("package %1 has the state %2").arg(id).arg(status);
        if (installed && m_engine.recordedVersion(id) != m_installed.value(id))
            return QStringLiteral("package %1 has another version").arg(id);
    }
    return QString();
}

QString AddOnUser::strayFile()
{
    const QDir home(m_engine.profile().home());
    const QString data = home.relativeFilePath(m_engine.profile().dataFolder());
    const QString answers = QStringLiteral(".cache/Quarnell/Kavo Suite/http/");
    const QStringList known{
        QStringLiteral(".config/Quarnell/Kavo Suite.ini"), data + QStringLiteral("/packages.db"),
        data + QStringLiteral("/download.db"), data + QStringLiteral("/log.txt"),
        data + QStringLiteral("/cache/packages.json")};
    for (const QString &path : filesUnder(home.path())) {
        // The answers of the server may stay, as many as there is room for.
        const bool checked = path.startsWith(QLatin1String("X-Plane/")) ||
                             path.startsWith(data + QStringLiteral("/backup/")) ||
                             path.startsWith(answers);
        if (!checked && !known.contains(path))
            return QStringLiteral("left over: ") + path;
    }
    return QString();
}

} // namespace Kavo::Testing
