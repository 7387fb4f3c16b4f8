#include "app/ProgramEnd.h"
#include "app/EndSignals.h"
#include "tests/app/ProgramRun.h"
#include "tests/app/StoredSettings.h"
#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Literals.h"
#include "tests/support/RunUntil.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <csignal>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo::Testing;

namespace {

constexpr int Patience = 30000; ///< in milliseconds
const QString Extractor = "/usr/bin/7z"_s;

/// The programs that a process has started.
QVector<pid_t> childrenOf(qint64 process)
{
    QVector<pid_t> found;
    const QDir threads("/proc/%1/task"_s.arg(process));
    const QStringList names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        const QList<QByteArray> numbers =
            readFile(threads.filePath(name + "/children"_s)).simplified().split(' ');
        for (const QByteArray &number : numbers) {
            if (!number.isEmpty())
                found.append(number.toInt());
        }
    }
    return found;
}

/// The 7-Zip that a process lets unpack this archive just now, 0 when there is none.
pid_t unpackerOf(qint64 process, const QByteArray &archive)
{
    const QVector<pid_t> children = childrenOf(process);
    for (const pid_t child : children) {
        const QByteArray words = readFile("/proc/%1/cmdline"_s.arg(child));
        if (words.split('\0').value(1) == "x" && words.contains(archive))
            return child;
    }
    return 0;
}

} // namespace

/// Asks the program itself to end by the signals of the system.
class ProgramEndTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void programEnds_data() { signalRows(); }
    void programEnds();
    void installationIsFinishedAndRecorded_data() { signalRows(); }
    void installationIsFinishedAndRecorded();
    void downloadStopsWhereItIs_data() { signalRows(); }
    void downloadStopsWhereItIs();
    void questionIsAnsweredWithNo_data() { signalRows(); }
    void questionIsAnsweredWithNo();
    void searchForTheSimulatorIsGivenUp_data() { signalRows(); }
    void searchForTheSimulatorIsGivenUp();
    void questionForTheFolderIsGivenUp_data() { signalRows(); }
    void questionForTheFolderIsGivenUp();
    void extractorIsNotEndedByTheSameSignal_data() { signalRows(); }
    void extractorIsNotEndedByTheSameSignal();
    void sevenZipUnpacksOnAfterTheSameSignal_data() { signalRows(); }
    void sevenZipUnpacksOnAfterTheSameSignal();
    void ignoredHangUpStaysIgnored();
    void signalIsToldOnce_data() { signalRows(); }
    void signalIsToldOnce();
    void signalsAreGivenBack_data() { signalRows(); }
    void signalsAreGivenBack();
    void sessionThatGoesOnHasTheQueueGoOn_data();
    void sessionThatGoesOnHasTheQueueGoOn();

private:
    static void signalRows();
    static int signalOfRow();
    QString stored(const char *key) const
    {
        return Kavo::Testing::stored(m_engine->profile(), key);
    }
    bool waitForRequest(const QString &path, const QByteArray &method) const;
    /// Runs the program on the server of the engine.
    std::unique_ptr<ProgramRun> makeRun(const QString &extractor = Extractor,
                                        const QStringList &buttons = {}) const;
    /// A program that is just being installed; another package waits behind it.
    std::unique_ptr<ProgramRun> startInstalling(const GatedExtractor &gate);

    std::unique_ptr<Engine> m_engine;
};

void ProgramEndTest::init()
{
    m_engine = std::make_unique<Engine>();
    for (const int id : {1, 2}) {
        Offer offer{id};
        offer.extract = "folder-%1"_s.arg(id);
        m_engine->offer(offer);
    }
    m_engine->serveCatalogue();
    settle(m_engine->profile());
}

void ProgramEndTest::cleanup()
{
    m_engine.reset();
}

void ProgramEndTest::signalRows()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

int ProgramEndTest::signalOfRow()
{
    QFETCH(int, number);
    return number;
}

bool ProgramEndTest::waitForRequest(const QString &path, const QByteArray &method) const
{
    return runUntil([&] { return m_engine->server().last(method, path).method == method; },
                    Patience);
}

std::unique_ptr<ProgramRun> ProgramEndTest::makeRun(const QString &extractor,
                                                    const QStringList &buttons) const
{
    return std::make_unique<ProgramRun>(QStringLiteral(KAVO_ORDERED_PROGRAM),
                                        QStringList{m_engine->server().url(QString()), extractor} +
                                            buttons);
}

std::unique_ptr<ProgramRun> ProgramEndTest::startInstalling(const GatedExtractor &gate)
{
    auto run = makeRun(gate.program(), {"Download"_s});
    run->start();
    const auto areThere = [this] {
        return m_engine->recordedStatus(1) == 4 && m_engine->recordedStatus(2) == 4;
    };
    return gate.waitUntilReached() && runUntil(areThere, Patience) ? std::move(run) : nullptr;
}

void ProgramEndTest::programEnds()
{
    const auto run = makeRun();
    run->start();
    // The window loads the catalogue.
    QVERIFY(waitForRequest("/packages.json"_s, "GET"));
    QCOMPARE(stored("Language"), "(missing)"_s);
    run->send(signalOfRow());
    QVERIFY(run->endsWith(0));
    QCOMPARE(stored("Language"), "en"_s);
    QCOMPARE(stored("Cache"), m_engine->profile().cacheFolder());
    QVERIFY(!QFile::exists(m_engine->profile().dataFolder() + "kavo-suite.lock"_s));
}

void ProgramEndTest::installationIsFinishedAndRecorded()
{
    const GatedExtractor gate(m_engine->profile().folder("gate"_s));
    const auto run = startInstalling(gate);
    QVERIFY(run);
    run->send(signalOfRow());
    run->send(signalOfRow());
    // It still hears what is said to it, and waits.
    ProgramRun later(QStringLiteral(KAVO_ORDERED_PROGRAM), {"-"_s, Extractor});
    later.start();
    QVERIFY(later.endsWith(0));
    QCOMPARE(later.standardError(), QByteArray());
    QVERIFY(run->isRunning());

    gate.open();
    QVERIFY(run->endsWith(0));
    const int done = m_engine->recordedStatus(1) == 1 ? 1 : 2;
    const int waiting = 3 - done;
    QCOMPARE(m_engine->recordedStatus(done), 1);
    QCOMPARE(m_engine->wholeVersion(done), "1.0"_s);
    QCOMPARE(fileTree(m_engine->simulator("folder-%1"_s.arg(done))),
             expectedTree({{Engine::fileOf(done), Engine::contentOf(done, "1.0"_s)}}));
    // The other one is not begun, and its archive is there for the next time.
    QCOMPARE(m_engine->recordedStatus(waiting), 4);
    QVERIFY(!QFileInfo::exists(m_engine->simulator("folder-%1"_s.arg(waiting))));
    QVERIFY(QFile::exists(m_engine->cached("package-%1-1.0.zip"_s.arg(waiting))));
    QCOMPARE(stored("Language"), "en"_s);
}

void ProgramEndTest::downloadStopsWhereItIs()
{
    constexpr qint64 Part = 123457;
    Offer large{3};
    // Nothing that could be packed any closer.
    QByteArray content;
    for (int number = 0; content.size() < 1000000; ++number)
        content += QCryptographicHash::hash(QByteArray::number(number), QCryptographicHash::Sha256);
    large.files = {{"large"_s, content}};
    m_engine->offer(large);
    m_engine->serveCatalogue();
    const QString path = "/package-3-1.0.zip"_s;
    HttpResource &archive = m_engine->server().resource(path);
    archive.holdAfter = Part;
    QVERIFY(archive.size() > 2 * Part);
    const auto run = makeRun(Extractor, {"Download"_s});
    run->start();
    const QString cached = m_engine->cached("package-3-1.0.zip"_s);
    QVERIFY(runUntil([&] { return QFileInfo(cached).size() == Part; }, Patience));
    QVERIFY(runUntil(
        [this] { return m_engine->recordedStatus(1) == 1 && m_engine->recordedStatus(2) == 1; },
        Patience));
    run->send(signalOfRow());
    QVERIFY(run->endsWith(0));
    QCOMPARE(readFile(cached), archive.read(0, Part));
    QCOMPARE(m_engine->recordedStatus(3), 3);
    QCOMPARE(stored("Language"), "en"_s);
}

void ProgramEndTest::questionIsAnsweredWithNo()
{
    const auto run = makeRun(Extractor, {"Reset"_s});
    run->start();
    QVERIFY(runUntil([&run] { return run->standardOutput().contains("asks"); }, Patience));
    run->send(signalOfRow());
    QVERIFY(run->endsWith(0));
    // A reset would have emptied it.
    QCOMPARE(stored("Language"), "en"_s);
    QVERIFY(QFile::exists(m_engine->profile().dataFolder() + "packages.db"_s));
}

void ProgramEndTest::searchForTheSimulatorIsGivenUp()
{
    QFile::remove(m_engine->profile().settingsFile());
    StandInLocate locate(QStringList{});
    locate.setScript("exec sleep 1000\n");
    const auto run = makeRun();
    run->start();
    QVERIFY(runUntil([&locate] { return !locate.arguments().isEmpty(); }, Patience));
    run->send(signalOfRow());
    QVERIFY(run->endsWith(0));
    QVERIFY(!QFile::exists(m_engine->profile().settingsFile()));
    QVERIFY(m_engine->server().requests().isEmpty());
}

void ProgramEndTest::questionForTheFolderIsGivenUp()
{
    QFile::remove(m_engine->profile().settingsFile());
    const StandInLocate locate(QStringList{});
    const auto run = makeRun();
    run->start();
    QVERIFY(runUntil([&run] { return run->standardOutput().contains("asks"); }, Patience));
    run->send(signalOfRow());
    QVERIFY(run->endsWith(0));
    QVERIFY(!QFile::exists(m_engine->profile().settingsFile()));
    QVERIFY(m_engine->server().requests().isEmpty());
}

void ProgramEndTest::extractorIsNotEndedByTheSameSignal()
{
    const GatedExtractor gate(m_engine->profile().folder("gate"_s));
    const auto run = startInstalling(gate);
    QVERIFY(run);
    const QVector<pid_t> children = childrenOf(run->processId());
    QVERIFY(!children.isEmpty());
    // As at the end of a session.
    run->send(signalOfRow());
    for (const pid_t child : children)
        ::kill(child, signalOfRow());
    gate.open();
    QVERIFY(run->endsWith(0));
    QVERIFY2(m_engine->recordedStatus(1) == 1 || m_engine->recordedStatus(2) == 1,
             readFile(m_engine->profile().logFile()).constData());
}

void ProgramEndTest::sevenZipUnpacksOnAfterTheSameSignal()
{
    constexpr int PieceSize = 45 * 1000 * 1000;
    constexpr int Pieces = 3;
    Offer large{3};
    large.link = "/large.bz2"_s;
    large.extract = "large"_s;
    m_engine->offer(large);
    m_engine->serveCatalogue();
    m_engine->server().resource(large.link).body =
        compressed(QByteArray(PieceSize, '\0'), "bz2"_s).repeated(Pieces);
    // In a group of its own, as a shell starts it.
    ProgramRun run("/usr/bin/setsid"_s,
                   {QStringLiteral(KAVO_ORDERED_PROGRAM), m_engine->server().url(QString()),
                    Extractor, "Download"_s});
    run.start();
    const QString unpacked = m_engine->simulator("large/large"_s);
    pid_t unpacker = 0;
    const auto unpacks = [&] {
        unpacker = unpackerOf(run.processId(), "large.bz2");
        return unpacker > 0 && QFileInfo(unpacked).size() > 0;
    };
    QVERIFY(runUntil(unpacks, Patience));
    // It must not get done before it has heard.
    ::kill(unpacker, SIGSTOP);
    QVERIFY(QFileInfo(unpacked).size() < qint64(PieceSize) * Pieces);
    // A terminal tells all of the group at once, a desktop each program.
    const auto group = static_cast<pid_t>(run.processId());
    QCOMPARE(::getpgid(group), group);
    ::kill(-group, signalOfRow());
    ::kill(unpacker, signalOfRow());
    ::kill(unpacker, SIGCONT);
    QVERIFY(run.endsWith(0));
    QVERIFY2(m_engine->recordedStatus(3) == 1, readFile(m_engine->profile().logFile()).constData());
    QCOMPARE(QFileInfo(unpacked).size(), qint64(PieceSize) * Pieces);
}

void ProgramEndTest::ignoredHangUpStaysIgnored()
{
    struct sigaction before = {};
    struct sigaction ignoring = {};
    ignoring.sa_handler = SIG_IGN;
    ::sigaction(SIGHUP, &ignoring, &before);
    const auto run = makeRun();
    run->start();
    ::sigaction(SIGHUP, &before, nullptr);
    QVERIFY(waitForRequest("/packages.json"_s, "GET"));
    run->send(SIGHUP);
    // Anything that takes longer than to hear a signal.
    ProgramRun later(QStringLiteral(KAVO_ORDERED_PROGRAM), {"-"_s, Extractor});
    later.start();
    QVERIFY(later.endsWith(0));
    QVERIFY(run->isRunning());
    run->send(SIGTERM);
    QVERIFY(run->endsWith(0));
}

void ProgramEndTest::signalIsToldOnce()
{
    const Kavo::EndSignals heard;
    QSignalSpy requested(&heard, &Kavo::EndSignals::requested);
    QVERIFY(!heard.isRequested());
    ::raise(signalOfRow());
    ::raise(signalOfRow());
    QVERIFY(heard.isRequested());
    QVERIFY(requested.isEmpty());
    QVERIFY(requested.wait(Patience));
    // The event loop comes to rest afterwards.
    for (int turn = 0; turn < 3; ++turn)
        QCoreApplication::processEvents();
    QCOMPARE(requested.size(), 1);
    ::raise(signalOfRow());
    QVERIFY(requested.wait(Patience));
    QCOMPARE(requested.size(), 2);
}

void ProgramEndTest::signalsAreGivenBack()
{
    const int number = signalOfRow();
    struct sigaction before = {};
    struct sigaction own = {};
    struct sigaction after = {};
    own.sa_handler = [](int) {};
    ::sigaction(number, &own, &before);
    const auto restore = qScopeGuard([number, &before] { ::sigaction(number, &before, nullptr); });
    {
        const Kavo::EndSignals heard;
        ::raise(number);
        QVERIFY(heard.isRequested());
    }
    ::sigaction(number, nullptr, &after);
    QVERIFY(after.sa_handler == own.sa_handler);
    // What the one before has heard is nothing to the next.
    const Kavo::EndSignals next;
    QVERIFY(!next.isRequested());
}

void ProgramEndTest::sessionThatGoesOnHasTheQueueGoOn_data()
{
    QTest::addColumn<bool>("goesOn");
    QTest::newRow("as far as known") << true;
    QTest::newRow("not known yet") << false;
}

void ProgramEndTest::sessionThatGoesOnHasTheQueueGoOn()
{
    QFETCH(bool, goesOn);
    const GatedExtractor gate(m_engine->profile().folder("gate"_s));
    m_engine->setExtractor(gate.program());
    QVERIFY(m_engine->refresh());
    QWidget window;
    using std::chrono::milliseconds;
    Kavo::ProgramEnd end(window, m_engine->controller(),
                         goesOn ? milliseconds(0) : milliseconds(std::chrono::hours(1)));
    m_engine->install(1);
    QVERIFY(gate.waitUntilReached());
    m_engine->install(2);
    QVERIFY(runUntil([this] { return m_engine->recordedStatus(2) == 4; }, Patience));
    QTimer::singleShot(0, &window, [&gate] { gate.open(); });
    end.prepareForSessionEnd();
    // What was being installed is recorded by now, and nothing else has begun.
    QCOMPARE(m_engine->recordedStatus(1), 1);
    QCOMPARE(m_engine->recordedStatus(2), 4);
    QVERIFY(!m_engine->controller().isBusy());
    if (goesOn) {
        QVERIFY(runUntil([this] { return m_engine->recordedStatus(2) == 1; }, Patience));
        return;
    }
    // Whatever is due now does not wake it.
    QCoreApplication::processEvents();
    QVERIFY(!m_engine->controller().isBusy());
    QCOMPARE(m_engine->recordedStatus(2), 4);
}

KAVO_TEST_MAIN(ProgramEndTest)
#include "ProgramEndTest.moc"
