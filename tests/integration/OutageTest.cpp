#include "downloads/DownloadManager.h"
#include "tests/packages/Engine.h"
#include "tests/packages/UpdateSetup.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>
#include <QTest>

#include <cstdio>
#include <memory>
#include <random>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

constexpr int AddOns = 5;
constexpr int Versions = 3;
constexpr int ArchiveBytes = 200000;
/// How often a server is asked once it is well again.
constexpr int Tries = 2;

/// What the server, the network or the user does to one download.
enum class Outage {
    UNAVAILABLE, ///< 503, for the probe as well or for the transfer alone
    RANGE,       ///< 416 for whoever asks for the rest
    CUT,         ///< the connection is closed in mid-body
    RESET,       ///< or reset
    STALLED,     ///< nothing more comes, until the server goes down and comes up again
    REPLACED,    ///< the same, and then there is another archive of the same name
    RENAMED, ///< the archive has got another name, which the catalogue tells at the next refresh
    PROGRAM_END, ///< the program ends in mid-body
};
constexpr int Outages = int(Outage::PROGRAM_END) + 1;

const char *nameOf(Outage outage)
{
    switch (outage) {
    case Outage::UNAVAILABLE:
        return "503";
    case Outage::RANGE:
        return "416";
    case Outage::CUT:
        return "cut";
    case Outage::RESET:
        return "reset";
    case Outage::STALLED:
        return "stalled, then cut";
    case Outage::REPLACED:
        return "replaced in mid-download";
    case Outage::RENAMED:
        return "renamed";
    case Outage::PROGRAM_END:
        return "end of the program";
    }
    return "";
}

QString versionText(int number)
{
    return QStringLiteral("%1.0").arg(number);
}

QString folderOf(int id)
{
    return QStringLiteral("Custom Scenery/add-on %1/").arg(id);
}

QString settingsOf(int id)
{
    return folderOf(id) + QStringLiteral("settings.ini");
}

QString originalOf(int id)
{
    return QStringLiteral("Resources/bitmaps/picture %1.png").arg(id);
}

int numberFromEnvironment(const char *name, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(name, &isNumber);
    return isNumber ? number : otherwise;
}

/// Without the marks of copies.
Files copiesIn(const QString &folder)
{
    Files files = readFiles(folder);
    for (const QString &name : files.keys()) {
        if (name.contains(QLatin1String(".kavo-")))
            files.remove(name);
    }
    return files;
}

} // namespace

/// Updates and downgrades of five add-ons that keep a file of the user's and replace one of the
/// simulator's, each with an outage. After every try all files of the simulator are those of the
/// versions that are shown, and nothing else has changed.
///
/// KAVO_UPDATES says how many, KAVO_SEED repeats a run as far as time can be repeated.
class OutageTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFileIsOfTheVersionShown();
    void cleanupTestCase();

private:
    void offerAll();
    void offer(int id, int version);
    void rebuild(int id, int version);
    void rename(int id, int version);
    bool installAll();
    QString update();
    QString tryWith(Outage outage, int id, int version);
    QString tryOnce(int id, int version);
    QString stall(Outage outage, int id, int version);
    void noteShown(int id, int version);
    void heal(int id, int version);
    bool restart();
    void fly(int id);
    QString wrong(bool hasRestarted);
    QString wrongCard(int id, bool hasRestarted);

    PackagePointer card(int id) { return m_engine->package(id); }
    HttpResource &archive(int id, int version)
    {
        return m_engine->server().resource(m_links.value({id, version}));
    }
    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }
    /// One that is not installed.
    int anotherVersion(int id)
    {
        return 1 + (m_installed.value(id) + below(Versions - 1)) % Versions;
    }
    QByteArray newContent() { return noise(static_cast<quint32>(m_random()), 2000); }

    using Version = QPair<int, int>; ///< of an add-on

    quint32 m_seed = 0;
    std::mt19937 m_random;
    LogCapture m_log;
    std::unique_ptr<Engine> m_engine;
    QMap<Version, QString> m_links;
    QMap<Version, Files> m_files; ///< under the simulator's folder
    Files m_others;
    Files m_originals;
    QMap<int, QByteArray> m_settings;
    QMap<int, int> m_installed;
    QMap<Outage, int> m_outages;
    int m_secondTries = 0;
    int m_restarts = 0;
};

void OutageTest::initTestCase()
{
    m_seed = static_cast<quint32>(
        numberFromEnvironment("KAVO_SEED", static_cast<int>(std::random_device()() >> 1)));
    m_random.seed(m_seed);
    std::printf("%d updates, seed %u\n", numberFromEnvironment("KAVO_UPDATES", 20), m_seed);
}

void OutageTest::offerAll()
{
    m_engine = std::make_unique<Engine>();
    for (int id = 1; id <= AddOns; ++id) {
        m_originals.insert(originalOf(id), newContent());
        for (int version = 1; version <= Versions; ++version)
            offer(id, version);
    }
    const QString simulator = m_engine->simulator({});
    QVERIFY(writeFiles(simulator, {{QStringLiteral("Custom Scenery/mine/apt.dat"), newContent()},
                                   {QStringLiteral("Resources/bitmaps/other.png"), newContent()},
                                   {QStringLiteral("Output/preferences/a.prf"), newContent()}}));
    m_others = readFiles(simulator);
    QVERIFY(writeFiles(simulator, m_originals));
}

void OutageTest::offer(int id, int version)
{
    Offer offer{id, versionText(version)};
    offer.link = QStringLiteral("/%1/add-on-%2.zip").arg(version).arg(id);
    offer.preserve = QStringList{settingsOf(id)};
    offer.backup = QStringList{originalOf(id)};
    offer.remove = QStringList{folderOf(id), originalOf(id)};
    offer.files = {{QStringLiteral("placeholder"), ""}};
    m_engine->offer(offer);
    m_links.insert({id, version}, offer.link);
    rebuild(id, version);
}

/// Puts another archive in the place of the present one.
void OutageTest::rebuild(int id, int version)
{
    const Files files{
        {folderOf(id) + QStringLiteral("big.dat"),
         noise(static_cast<quint32>(m_random()), ArchiveBytes)},
        {folderOf(id) + QStringLiteral("only in ") + versionText(version), newContent()},
        {originalOf(id), newContent()}};
    m_files.insert({id, version}, files);
    HttpResource &resource = archive(id, version);
    resource.body = archiveOf(files, QStringLiteral("zip"));
    resource.lastModified = resource.lastModified.addSecs(60);
}

/// Gives the archive another name, of which the catalogue knows at the next refresh.
void OutageTest::rename(int id, int version)
{
    TestHttpServer &server = m_engine->server();
    const QString before = m_links.value({id, version});
    const QString after =
        QStringLiteral("/%1/new%2/add-on-%3.zip").arg(version).arg(below(1000000)).arg(id);
    const HttpResource resource = server.resource(before);
    server.serve(after, {}) = resource;
    server.removeResource(before);
    m_links.insert({id, version}, after);
    HttpResource &catalogue = server.resource(QStringLiteral("/packages.json"));
    catalogue.body.replace(server.url(before).toUtf8(), server.url(after).toUtf8());
}

bool OutageTest::installAll()
{
    bool installs = m_engine->refresh();
    for (int id = 1; id <= AddOns && installs; ++id) {
        installs = m_engine->installAndWait(id, versionText(1));
        m_installed.insert(id, 1);
        fly(id);
    }
    return installs;
}

/// The user writes to the file that the add-on keeps.
void OutageTest::fly(int id)
{
    m_settings.insert(id, newContent());
    writeFile(m_engine->simulator(settingsOf(id)), m_settings.value(id));
}

bool OutageTest::restart()
{
    ++m_restarts;
    m_engine->stop();
    return m_engine->refreshAsServed();
}

/// One update with an outage. Returns what is wrong.
QString OutageTest::update()
{
    const int id = 1 + below(AddOns);
    int version = anotherVersion(id);
    const auto outage = static_cast<Outage>(below(Outages));
    QString course = QStringLiteral("add-on %1 from %2 to %3, %4")
                         .arg(id)
                         .arg(m_installed.value(id))
                         .arg(version)
                         .arg(QLatin1String(nameOf(outage)));
    ++m_outages[outage];
    if (below(2) == 0)
        fly(id);
    QString fault = tryWith(outage, id, version);
    heal(id, version);
    // Some change their mind, and leave a half of the one version to the other.
    if (m_installed.value(id) != version && below(3) == 0)
        version = anotherVersion(id);
    int tries = 0;
    while (fault.isEmpty() && m_installed.value(id) != version) {
        if (tries++ == Tries)
            return course + QStringLiteral(": does not recover");
        if (below(2) == 0 && !restart())
            return course + QStringLiteral(": lists nothing");
        fault = tryOnce(id, version);
    }
    m_secondTries += tries == Tries ? 1 : 0;
    if (fault.isEmpty() && below(3) == 0)
        fault = restart() ? wrong(true) : QStringLiteral("lists nothing");
    return fault.isEmpty() ? fault : course + QStringLiteral(": ") + fault;
}

QString OutageTest::tryWith(Outage outage, int id, int version)
{
    HttpResource &resource = archive(id, version);
    const qint64 part = below(resource.body.size());
    switch (outage) {
    case Outage::UNAVAILABLE:
        resource.getStatus = 503;
        resource.failsOnlyGet = below(2) == 0;
        return tryOnce(id, version);
    case Outage::RANGE: {
        // Without a half nobody asks for the rest.
        resource.cutAfter = part;
        const QString fault = tryOnce(id, version);
        heal(id, version);
        resource.refusesRange = true;
        return fault.isEmpty() && m_installed.value(id) != version ? tryOnce(id, version) : fault;
    }
    case Outage::CUT:
        resource.cutAfter = part;
        return tryOnce(id, version);
    case Outage::RESET:
        resource.resetAfter = part;
        return tryOnce(id, version);
    case Outage::RENAMED: {
        rename(id, version);
        const QString fault = tryOnce(id, version);
        return fault.isEmpty() && !m_engine->refreshAsServed() ? QStringLiteral("lists nothing")
                                                               : fault;
    }
    case Outage::STALLED:
    case Outage::REPLACED:
    case Outage::PROGRAM_END:
        resource.holdAfter = part;
        return stall(outage, id, version);
    }
    return QString();
}

/// Starts the update, waits until nothing more comes, and goes on with that outage.
QString OutageTest::stall(Outage outage, int id, int version)
{
    const qint64 part = *archive(id, version).holdAfter;
    const QString link = m_links.value({id, version});
    m_engine->server().forgetRequests();
    m_engine->install(id, versionText(version));
    const auto download = m_engine->downloads()->find(m_engine->server().url(link));
    const QString file = download ? download->getPath() : QString();
    const qint64 before = QFileInfo(file).size();
    // The transfer goes on behind what is there, or starts over.
    const auto standsStill = [&] {
        const qint64 present = QFileInfo(file).size();
        return !card(id)->isBusy() || (!m_engine->server().last("GET", link).path.isEmpty() &&
                                       (present == part || present == before + part));
    };
    if (!runUntil(standsStill, m_engine->patience()))
        return QStringLiteral("neither ends nor stands still");
    if (outage == Outage::PROGRAM_END) {
        if (!restart())
            return QStringLiteral("lists nothing");
        noteShown(id, version);
        return wrong(true);
    }
    m_engine->server().setRefusing(true);
    const bool ends = m_engine->waitUntilSettled(id);
    m_engine->server().setRefusing(false);
    if (!ends)
        return QStringLiteral("does not end");
    noteShown(id, version);
    const QString fault = wrong(false);
    if (outage == Outage::REPLACED && m_installed.value(id) != version)
        rebuild(id, version);
    return fault;
}

/// One try to its end. Returns what is wrong.
QString OutageTest::tryOnce(int id, int version)
{
    m_engine->install(id, versionText(version));
    if (!m_engine->waitUntilSettled(id))
        return QStringLiteral("does not end");
    noteShown(id, version);
    return wrong(false);
}

/// The outage may come too late for what is left to be fetched.
void OutageTest::noteShown(int id, int version)
{
    if (m_engine->controller().installedVersion(card(id)) == versionText(version))
        m_installed.insert(id, version);
}

void OutageTest::heal(int id, int version)
{
    HttpResource &resource = archive(id, version);
    HttpResource healthy;
    healthy.body = resource.body;
    healthy.lastModified = resource.lastModified;
    resource = healthy;
}

/// What is not as it has to be: the fault, or an empty text.
QString OutageTest::wrong(bool hasRestarted)
{
    Files wanted = m_others;
    for (int id = 1; id <= AddOns; ++id) {
        const QString fault = wrongCard(id, hasRestarted);
        if (!fault.isEmpty())
            return fault;
        const Files files = m_files.value({id, m_installed.value(id)});
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            wanted.insert(file.key(), file.value());
        wanted.insert(settingsOf(id), m_settings.value(id));
    }
    const QMap<QString, QString> tree = fileTree(m_engine->simulator({}));
    const QMap<QString, QString> wantedTree = expectedTree(wanted);
    for (const QString &name : (tree.keys() + wantedTree.keys())) {
        if (tree.value(name, QStringLiteral("-")) != wantedTree.value(name, QStringLiteral("-")))
            return QStringLiteral("not as it has to be: ") + name;
    }
    if (copiesIn(m_engine->profile().backupFolder()) != m_originals)
        return QStringLiteral("not every original is backed up");
    return copiesIn(m_engine->profile().preserveFolder()).isEmpty()
               ? QString()
               : QStringLiteral("a kept copy is left over");
}

/// A download that fails is shown as such until the next refresh. Nothing else may be.
QString OutageTest::wrongCard(int id, bool hasRestarted)
{
    const Package::State state = card(id)->state();
    if (state == Package::DOWNLOAD_ERROR && !hasRestarted)
        return QString();
    const QString shown = m_engine->controller().installedVersion(card(id));
    if (shown == versionText(m_installed.value(id)))
        return QString();
    return QStringLiteral("add-on %1 shows \"%2\" in the state %3").arg(id).arg(shown).arg(state);
}

void OutageTest::everyFileIsOfTheVersionShown()
{
    offerAll();
    QVERIFY(installAll());
    QCOMPARE(wrong(true), QString());
    const int updates = numberFromEnvironment("KAVO_UPDATES", 20);
    for (int number = 0; number < updates; ++number) {
        const QString fault = update();
        QVERIFY2(
            fault.isEmpty(),
            qPrintable(
                QStringLiteral("%1 (update %2, seed %3)").arg(fault).arg(number + 1).arg(m_seed)));
        m_log.clear();
    }
    QVERIFY(restart());
    for (int id = 1; id <= AddOns; ++id)
        m_engine->controller().uninstall(card(id));
    Files left = m_others;
    left.unite(m_originals);
    QVERIFY(readFiles(m_engine->simulator({})) == left);
}

void OutageTest::cleanupTestCase()
{
    std::printf("\n%-26s updates\n", "outage");
    for (auto outage = m_outages.cbegin(); outage != m_outages.cend(); ++outage)
        std::printf("%-26s %7d\n", nameOf(outage.key()), outage.value());
    std::printf("second tries %d, restarts %d\n\n", m_secondTries, m_restarts);
    std::fflush(stdout);
    m_engine.reset();
}

KAVO_TEST_MAIN(OutageTest)
#include "OutageTest.moc"
