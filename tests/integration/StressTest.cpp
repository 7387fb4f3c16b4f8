#include "downloads/Download.h"
#include "tests/integration/StressPackages.h"
#include "tests/packages/Engine.h"
#include "tests/packages/ExtractionWitness.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>
#include <QRandomGenerator>
#include <QSet>
#include <QTimer>

#include <chrono>
#include <memory>
#include <sys/resource.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

namespace {

// Sanitizers make everything many times slower.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int PackageCount = 150;
#else
constexpr int PackageCount = 1000;
#endif

constexpr std::chrono::minutes Patience{4};

/// Both ends of every transfer are in this process; many systems begin with 1,024 files for one.
void allowManyFiles()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

quint32 chooseSeed()
{
    const QByteArray wanted = qgetenv("KAVO_STRESS_SEED");
    return wanted.isEmpty() ? QRandomGenerator::system()->generate() : wanted.toUInt();
}

/// As a text: a list that differs in size is not told in a failure.
QString listed(const QStringList &texts)
{
    return texts.mid(0, 20).join(QStringLiteral("; "));
}

/// Without the marks of copies, too.
QMap<QString, QString> withoutFolders(QMap<QString, QString> tree)
{
    for (const QString &name : tree.keys()) {
        if (name.endsWith(QLatin1Char('/')) || name.contains(QLatin1String("/.kavo-")))
            tree.remove(name);
    }
    return tree;
}

/// Names of what is different, a few of them.
QStringList differences(const QMap<QString, QString> &found, const QMap<QString, QString> &expected)
{
    QStringList names;
    const QStringList foundNames = found.keys();
    const QStringList expectedNames = expected.keys();
    for (const QString &name : foundNames) {
        if (!expected.contains(name))
            names.append(QStringLiteral("too much: ") + name);
        else if (expected.value(name) != found.value(name))
            names.append(QStringLiteral("other content: ") + name);
    }
    for (const QString &name : expectedNames) {
        if (!found.contains(name))
            names.append(QStringLiteral("missing: ") + name);
    }
    return names.mid(0, 10);
}

} // namespace

/// Very much at once, in an order that only the seed knows. KAVO_STRESS_SEED=NUMBER runs one again;
/// what the user does comes in the same order then, between which of the program's steps is up to
/// the machine.
class StressTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void downloadsThatEndTogetherWithTheUserAtWorkLeaveEverythingInOrder();
    void programThatEndsDuringWorkGoesOnAtItsNextStart();

private:
    bool begin();
    void followCards();
    void end();
    bool startAllHeld();
    void work(int deeds);
    void act();
    void installSomething();
    void uninstallSomething();
    void writeSettings();
    void refreshInPassing();
    void turn();
    bool isQuiet();
    void noteInterrupted(const QHash<int, Engine::Record> &records);
    bool settle();
    PackagePointer anyCard();
    int below(int limit) { return m_random.bounded(limit); }

    QStringList wrongs();
    QStringList wrongStates(const QHash<int, Engine::Record> &records);
    QStringList wrongFiles(const QHash<int, Engine::Record> &records);
    QStringList strayArchives();
    Files expectedFiles(int id, const Engine::Record &record) const;

    QRandomGenerator m_random;
    std::unique_ptr<StressPackages> m_packages;
    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<ExtractionWitness> m_witness;
    QTimer m_heartbeat;
    PackageList m_cards;           ///< what a window would show
    QMap<int, QByteArray> m_notes; ///< settings files that the user wrote, by package
    QSet<int> m_failed;            ///< packages of which an archive may have been left for a retry
    QSet<int> m_interrupted;       ///< packages that were on their way when the program ended
    int m_moves = 0;
    int m_refreshes = 0;
};

void StressTest::initTestCase()
{
    allowManyFiles();
    const quint32 seed = chooseSeed();
    qInfo("KAVO_STRESS_SEED=%u", seed);
    m_random.seed(seed);
    // So that waiting for something to happen always ends.
    m_heartbeat.start(std::chrono::milliseconds(20));
}

void StressTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_packages = std::make_unique<StressPackages>(PackageCount);
    m_witness =
        std::make_unique<ExtractionWitness>(m_engine->profile().folder(QStringLiteral("7z")));
    m_engine->setExtractor(m_witness->program());
    for (int id = 1; id <= PackageCount; ++id) {
        m_engine->offerObject(m_packages->object(id));
        if (const QString original = StressPackages::original(id); !original.isEmpty())
            QVERIFY(writeFile(m_engine->simulator(original), StressPackages::originalContent(id)));
    }
    for (const QString &name : {QStringLiteral("Custom/mine.txt"), QStringLiteral("package-1-mine"),
                                QStringLiteral("Resources/theirs/a.txt")})
        QVERIFY(writeFile(m_engine->simulator(name), name.toUtf8()));
}

void StressTest::cleanup()
{
    end();
    m_cards.clear();
    m_notes.clear();
    m_failed.clear();
    m_interrupted.clear();
    m_witness.reset();
    m_packages.reset();
    m_engine.reset();
}

/// Starts the program and waits for its list.
bool StressTest::begin()
{
    m_engine->start();
    PackageController &controller = m_engine->controller();
    connect(&controller, &PackageController::list, this, [this] {
        --m_refreshes;
        followCards();
    });
    m_refreshes = 1;
    return m_engine->refresh();
}

void StressTest::followCards()
{
    m_cards = m_engine->controller().packages();
    for (const PackagePointer &package : qAsConst(m_cards)) {
        connect(package.data(), &Package::stateChanged, this,
                [this, id = package->id()](Package::State state) {
                    ++m_moves;
                    if (state == Package::DOWNLOAD_ERROR || state == Package::DEPENDENCY_ERROR)
                        m_failed.insert(id);
                });
    }
}

/// Ends the program, whatever it is doing. The cards are gone a little later than the controller,
/// and what is on its way to them still arrives.
void StressTest::end()
{
    m_engine->stop();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    m_refreshes = 0;
}

/// Every package is asked for, and no archive ends before all are under way.
bool StressTest::startAllHeld()
{
    m_packages->hold();
    for (const PackagePointer &package : qAsConst(m_cards)) {
        QString version = below(4) == 0 ? QStringLiteral("1.0") : QString();
        m_engine->controller().install(package, version);
    }
    const QDeadlineTimer deadline(Patience);
    const auto isUnderWay = [](const PackagePointer &package) {
        return package->state() == Package::DOWNLOADING;
    };
    while (!std::all_of(m_cards.cbegin(), m_cards.cend(), isUnderWay) && !deadline.hasExpired())
        turn();
    QSet<QString> links;
    for (const PackagePointer &package : qAsConst(m_cards))
        links.insert(m_engine->controller().runningDownload(package)->getRequest()->url().path());
    while (m_packages->requestedArchives() < links.size() && !deadline.hasExpired())
        turn();
    return !deadline.hasExpired();
}

/// The program works on while the user does so many things.
void StressTest::work(int deeds)
{
    while (deeds > 0) {
        const int next = m_moves + below(8);
        while (m_moves < next && !isQuiet())
            turn();
        act();
        --deeds;
    }
}

void StressTest::act()
{
    const int choice = below(20);
    if (choice < 9)
        installSomething();
    else if (choice < 15)
        uninstallSomething();
    else if (choice < 18)
        writeSettings();
    else
        refreshInPassing();
}

void StressTest::installSomething()
{
    const PackagePointer card = anyCard();
    const QStringList wishes{QString(), QStringLiteral("1.0"), QStringLiteral("2.0")};
    QString version = wishes.at(below(wishes.size()));
    m_engine->controller().install(card, version);
    // An impatient user.
    if (below(3) == 0)
        m_engine->controller().install(card, version);
}

void StressTest::uninstallSomething()
{
    const PackagePointer card = anyCard();
    if (card->state() != Package::INSTALLED)
        return;
    m_engine->controller().uninstall(card);
    if (card->state() == Package::AVAILABLE)
        m_notes.remove(card->id());
}

void StressTest::writeSettings()
{
    const PackagePointer card = anyCard();
    const QString name = StressPackages::settingsFile(card->id());
    if (name.isEmpty() || card->state() != Package::INSTALLED)
        return;
    const QByteArray note = "note " + QByteArray::number(below(1000000));
    QVERIFY(writeFile(m_engine->simulator(name), note));
    m_notes.insert(card->id(), note);
}

void StressTest::refreshInPassing()
{
    ++m_refreshes;
    m_engine->controller().refresh();
}

PackagePointer StressTest::anyCard()
{
    return m_cards.at(below(m_cards.size()));
}

/// Lets the program go on until something has happened.
void StressTest::turn()
{
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

bool StressTest::isQuiet()
{
    return m_refreshes == 0 && !m_engine->controller().isBusy() &&
           std::none_of(m_cards.cbegin(), m_cards.cend(),
                        [](const PackagePointer &package) { return package->isBusy(); });
}

void StressTest::noteInterrupted(const QHash<int, Engine::Record> &records)
{
    for (auto record = records.cbegin(); record != records.cend(); ++record) {
        if (record->status == Package::DOWNLOADING || record->status == Package::INSTALLING)
            m_interrupted.insert(record.key());
    }
}

bool StressTest::settle()
{
    const QDeadlineTimer deadline(Patience);
    while (!isQuiet() && !deadline.hasExpired())
        turn();
    return !deadline.hasExpired();
}

/// Everything that is not as it should be once the program is quiet.
QStringList StressTest::wrongs()
{
    const QHash<int, Engine::Record> records = m_engine->records();
    QStringList wrongs = wrongStates(records) + wrongFiles(records) + strayArchives();
    if (!m_witness->sawOneAtATime())
        wrongs.append(QStringLiteral("two tasks at the same time"));
    return wrongs;
}

QStringList StressTest::wrongStates(const QHash<int, Engine::Record> &records)
{
    QStringList wrongs;
    for (const PackagePointer &package : m_engine->controller().packages()) {
        const Package::State state = package->state();
        const int recorded = records.value(package->id()).status;
        // A new object knows nothing of failures before it; AVAILABLE means what is not installed.
        const bool agrees = state == Package::AVAILABLE ? recorded != Package::INSTALLED
                                                        : recorded == static_cast<int>(state);
        const bool settled =
            state == Package::AVAILABLE || state == Package::INSTALLED || Package::isError(state);
        if (!agrees || !settled)
            wrongs.append(QStringLiteral("package %1: state %2, recorded %3")
                              .arg(package->id())
                              .arg(state)
                              .arg(recorded));
    }
    return wrongs;
}

/// The whole of the simulator's folder and the backups against the records.
QStringList StressTest::wrongFiles(const QHash<int, Engine::Record> &records)
{
    Files simulator{{QStringLiteral("X-Plane-x86_64"),
                     readFile(m_engine->simulator(QStringLiteral("X-Plane-x86_64")))}};
    for (const QString &name : {QStringLiteral("Custom/mine.txt"), QStringLiteral("package-1-mine"),
                                QStringLiteral("Resources/theirs/a.txt")})
        simulator.insert(name, name.toUtf8());
    Files backups;
    for (int id = 1; id <= PackageCount; ++id) {
        const Files files = expectedFiles(id, records.value(id));
        const QString original = StressPackages::original(id);
        if (!original.isEmpty())
            (files.isEmpty() ? simulator : backups)
                .insert(original, StressPackages::originalContent(id));
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            simulator.insert(file.key(), file.value());
    }
    return differences(fileTree(m_engine->profile().simulatorFolder()), expectedTree(simulator)) +
           differences(withoutFolders(fileTree(m_engine->profile().backupFolder())),
                       withoutFolders(expectedTree(backups))) +
           differences(withoutFolders(fileTree(m_engine->profile().preserveFolder())), {});
}

/// What a package has on the disk. A package that failed, or was interrupted before its
/// installation began, still has all of the version before, or nothing: an archive that cannot be
/// installed is found out before anything is touched.
Files StressTest::expectedFiles(int id, const Engine::Record &record) const
{
    QString version = record.version;
    switch (record.status) {
    case Package::INSTALLED:
        break;
    case Package::DOWNLOADING:
    case Package::INSTALLING:
    case Package::INSTALL_ERROR:
    case Package::DOWNLOAD_ERROR:
    case Package::DEPENDENCY_ERROR: {
        const QString mark = StressPackages::mark(id);
        const QByteArray content = readFile(m_engine->simulator(mark));
        for (const QString &candidate : StressPackages::versions()) {
            if (StressPackages::files(id, candidate).value(mark) == content)
                version = candidate;
        }
        if (content.isNull())
            return {};
        break;
    }
    default:
        return {};
    }
    Files files = StressPackages::files(id, version);
    if (m_notes.contains(id))
        files.insert(StressPackages::settingsFile(id), m_notes.value(id));
    return files;
}

/// Archives that wait for nobody. Those of what failed or was cut short stay for a retry.
QStringList StressTest::strayArchives()
{
    QStringList strays = withoutFolders(fileTree(m_engine->profile().cacheFolder())).keys();
    for (int id = 1; id <= PackageCount; ++id) {
        if (!m_interrupted.contains(id) && !m_failed.contains(id))
            continue;
        for (const QString &archive : StressPackages::archives(id))
            strays.removeAll(archive);
    }
    for (const QString &name : QStringList(strays)) {
        if (name.startsWith(QStringLiteral("packages.json")))
            strays.removeAll(name);
    }
    return strays;
}

void StressTest::downloadsThatEndTogetherWithTheUserAtWorkLeaveEverythingInOrder()
{
    QVERIFY(begin());
    QVERIFY(startAllHeld());
    QVERIFY(!m_engine->controller().isBusy());
    m_packages->release();
    work(PackageCount / 4);
    QVERIFY(settle());
    QCOMPARE(listed(wrongs()), QString());

    end();
    QVERIFY(begin());
    QVERIFY(isQuiet());
    QCOMPARE(listed(wrongs()), QString());
}

void StressTest::programThatEndsDuringWorkGoesOnAtItsNextStart()
{
    constexpr int Rounds = 4;
    for (int round = 0; round < Rounds; ++round) {
        QVERIFY(begin());
        for (int started = 0; started < PackageCount / 10; ++started)
            installSomething();
        work(PackageCount / 40);
        end();
        const QHash<int, Engine::Record> records = m_engine->records();
        QCOMPARE(listed(wrongFiles(records)), QString());
        noteInterrupted(records);
    }
    QVERIFY(begin());
    QCOMPARE(listed(wrongs()), QString());
    for (const int id : qAsConst(m_interrupted))
        m_engine->install(id);
    QVERIFY(settle());
    QCOMPARE(listed(wrongs()), QString());
}

KAVO_TEST_MAIN(StressTest)
#include "StressTest.moc"
