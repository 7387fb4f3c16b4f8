#include "tests/integration/AddOnUser.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <cstdint>
#include <cstring>
#include <tuple>

namespace Kavo::Testing {

namespace {

const QString First = QStringLiteral("1.0");
const QString Second = QStringLiteral("2.0");

const QString Lights = QStringLiteral("Resources/bitmaps/lights.png");
const QString Alert = QStringLiteral("Resources/sounds/alert.wav");

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

/// The files under a folder, by relative path.
QStringList filesUnder(const QString &folder)
{
    QStringList files;
    QDirIterator iterator(folder, QDir::Files | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext())
        files.append(QDir(folder).relativeFilePath(iterator.next()));
    return files;
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

AddOnUser::AddOnUser(const Sizes &sizes, quint32 seed) : m_sizes(sizes), m_random(seed)
{
    writeOthersFiles();

    Offer library{Library};
    library.extract = QStringLiteral("Custom Scenery");
    library.remove = QStringList{QStringLiteral("Custom Scenery/Kavo Lib")};
    Offer plugIn{PlugIn};
    plugIn.extract = QStringLiteral("Resources");
    plugIn.preserve = QStringList{QStringLiteral("Resources/plugins/Alpha/settings.ini"),
                                  QStringLiteral("Resources/plugins/Alpha/data/profile.dat")};
    plugIn.backup = QStringList{Lights, Alert};
    plugIn.remove = QStringList{QStringLiteral("Resources/plugins/Alpha"), Lights, Alert};
    Offer scenery{Scenery};
    scenery.extract = QStringLiteral("Custom Scenery/Beta Field");
    scenery.preserve = QStringList{QStringLiteral("Custom Scenery/Beta Field/notes.txt")};
    scenery.remove = QStringList{QStringLiteral("Custom Scenery/Beta Field")};

    for (const QString &version : {First, Second}) {
        library.version = plugIn.version = scenery.version = version;
        plugIn.depends = QStringList{QStringLiteral("%1:%2").arg(Library).arg(version)};
        offer(library, QStringLiteral("Kavo Lib"));
        offer(plugIn, QStringLiteral("plugins/Alpha"),
              {Lights.section(QLatin1Char('/'), 1), Alert.section(QLatin1Char('/'), 1)});
        offer(scenery, QStringLiteral("Earth nav data"));
    }
    m_engine.serveCatalogue();
}

QStringList AddOnUser::arguments(const QString &order)
{
    return QStringList{m_engine.server().url({}), m_engine.simulator({})} +
           order.split(QLatin1Char(' '));
}

void AddOnUser::takeAsDone(const QString &order)
{
    const QStringList wanted = order.split(QLatin1Char(' ')).mid(1);
    const bool removes = order.startsWith(QLatin1String("uninstall"));
    for (const QString &text : wanted) {
        const int id = text.section(QLatin1Char(':'), 0, 0).toInt();
        const QString version = text.section(QLatin1Char(':'), 1);
        if (removes)
            m_installed.remove(id);
        else
            m_installed.insert(id, version.isEmpty() ? Second : version);
    }
    // The plug-in goes with the library that it needs, and brings along the newest one when there
    // is none or when that is too old.
    if (removes && !isInstalled(Library))
        m_installed.remove(PlugIn);
    if (m_installed.value(PlugIn) == Second || (isInstalled(PlugIn) && !isInstalled(Library)))
        m_installed.insert(Library, Second);
    for (auto rule = m_preserved.cbegin(); rule != m_preserved.cend(); ++rule) {
        for (const QString &path : *rule) {
            if (!isInstalled(rule.key()))
                m_own.remove(path);
        }
    }
}

void AddOnUser::editOwnFiles()
{
    m_own.clear();
    QFile::Permissions permissions = OwnersOnly;
    for (const int id : m_installed.keys()) {
        for (const QString &path : m_preserved.value(id)) {
            const Kept file{noise(m_sizes.ownBytes), permissions};
            if (!writeFile(m_engine.simulator(path), file.content) ||
                !QFile::setPermissions(m_engine.simulator(path), permissions))
                qFatal("The user's file cannot be written");
            m_own.insert(path, file);
            permissions = Program;
        }
    }
}

void AddOnUser::holdProbes()
{
    for (HttpResource *archive : archives())
        archive->holdsHead = true;
}

void AddOnUser::holdArchives(qint64 after)
{
    for (HttpResource *archive : archives())
        archive->holdAfter = after;
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
    m_saved = {m_own, m_installed};
    return QDir(folder).removeRecursively() &&
           runProgram(QStringLiteral("cp"),
                      {QStringLiteral("-a"), m_engine.profile().home(), folder});
}

bool AddOnUser::load(const QString &folder)
{
    std::tie(m_own, m_installed) = m_saved;
    const QString home = m_engine.profile().home();
    return QDir(home).removeRecursively() &&
           runProgram(QStringLiteral("cp"), {QStringLiteral("-a"), folder, home});
}

void AddOnUser::writeOthersFiles()
{
    for (const char *path :
         {"Custom Scenery/My Own Field/readme.txt", "Custom Scenery/scenery_packs.ini",
          "Output/preferences/Cloud Colours.prf", "Resources/plugins/Friendly Copilot/lin.xpl",
          "Resources/bitmaps/other.png", "Resources/sounds/horn.wav"})
        m_others.insert(QString::fromLatin1(path), noise(1000));
    const QString program = QStringLiteral("X-Plane-x86_64");
    m_others.insert(program, readFile(m_engine.simulator(program)));
    m_originals.insert(Lights, {noise(m_sizes.ownBytes), OwnersOnly | QFile::ReadGroup});
    m_originals.insert(Alert, {noise(m_sizes.ownBytes), Program});
    bool written = writeFiles(m_engine.simulator({}), m_others);
    for (auto file = m_originals.cbegin(); file != m_originals.cend(); ++file) {
        const QString path = m_engine.simulator(file.key());
        written = written && writeFile(path, file->content) &&
                  QFile::setPermissions(path, file->permissions);
    }
    if (!written)
        qFatal("The simulator cannot be made");
}

/// A version whose archive brings files of the given folder and some further ones.
void AddOnUser::offer(const Offer &rules, const QString &folder, const QStringList &further)
{
    Offer offer = rules;
    offer.files.insert(folder + QStringLiteral("/big.dat"), noise(m_sizes.archiveBytes));
    for (int number = 0; number < m_sizes.archiveFiles; ++number) {
        const QString name = QStringLiteral("/%1/part %2.txt").arg(number % 7).arg(number);
        offer.files.insert(folder + name, rules.version.toUtf8() + noise(200));
    }
    // Something of each version alone, so that it shows when an update leaves something behind.
    offer.files.insert(folder + QStringLiteral("/only in ") + rules.version, "here");
    for (const QString &path : further)
        offer.files.insert(path, noise(m_sizes.ownBytes));
    m_engine.offer(offer);

    Files &files = m_files[rules.id][rules.version];
    for (auto file = offer.files.cbegin(); file != offer.files.cend(); ++file)
        files.insert(rules.extract + QLatin1Char('/') + file.key(), file.value());
    m_preserved.insert(rules.id, rules.preserve);
}

QVector<HttpResource *> AddOnUser::archives()
{
    QVector<HttpResource *> found;
    for (auto addOn = m_files.cbegin(); addOn != m_files.cend(); ++addOn) {
        for (const QString &version : addOn->keys())
            found.append(&m_engine.server().resource(
                QStringLiteral("/package-%1-%2.zip").arg(addOn.key()).arg(version)));
    }
    return found;
}

QByteArray AddOnUser::noise(int size)
{
    QByteArray bytes(size, '\0');
    for (int position = 0; position < size; position += 4) {
        const std::uint32_t word = static_cast<std::uint32_t>(m_random());
        std::memcpy(bytes.data() + position, &word,
                    static_cast<std::size_t>(qMin(4, size - position)));
    }
    return bytes;
}

QMap<QString, QString> AddOnUser::wantedTree() const
{
    Files files = m_others;
    for (auto file = m_originals.cbegin(); file != m_originals.cend(); ++file)
        files.insert(file.key(), file->content);
    for (auto version = m_installed.cbegin(); version != m_installed.cend(); ++version) {
        const Files added = m_files.value(version.key()).value(version.value());
        for (auto file = added.cbegin(); file != added.cend(); ++file)
            files.insert(file.key(), file.value());
    }
    for (auto file = m_own.cbegin(); file != m_own.cend(); ++file)
        files.insert(file.key(), file->content);
    return expectedTree(files);
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

/// The originals stand in the simulator, or in the backup folder while the plug-in is installed.
QString AddOnUser::faultInBackups()
{
    const QString backups = m_engine.profile().backupFolder();
    const bool replaced = isInstalled(PlugIn);
    const int count =
        filesUnder(backups).size() + filesUnder(m_engine.profile().preserveFolder()).size();
    if (count != (replaced ? m_originals.size() : 0))
        return QStringLiteral("%1 files are parked").arg(count);
    return faultInKept(m_originals, replaced ? backups : m_engine.simulator({}));
}

/// What lies in the cache is the beginning of an archive, or the whole of it.
QString AddOnUser::faultInCache()
{
    const QString cache = m_engine.profile().cacheFolder();
    for (const QString &name : filesUnder(cache)) {
        const QByteArray served =
            m_engine.server().resource(QLatin1Char('/') + name).read(0, INT_MAX);
        if (!served.startsWith(readFile(cache + name)))
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
    for (const int id : {Library, PlugIn, Scenery}) {
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
    const QStringList known{
        QStringLiteral(".config/Quarnell/Kavo Suite.ini"), data + QStringLiteral("/packages.db"),
        data + QStringLiteral("/download.db"), data + QStringLiteral("/log.txt"),
        data + QStringLiteral("/cache/packages.json")};
    for (const QString &path : filesUnder(home.path())) {
        const bool checked = path.startsWith(QLatin1String("X-Plane/")) ||
                             path.startsWith(data + QStringLiteral("/backup/"));
        if (!checked && !known.contains(path))
            return QStringLiteral("left over: ") + path;
    }
    return QString();
}

} // namespace Kavo::Testing
