#include "app/ProgramEnd.h"
#include "app/EndSignals.h"
#include "tests/app/ProgramRun.h"
#include "tests/app/StoredSettings.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Archives.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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

/// The running child processes of a process.
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

/// The 7-Zip process that unpacks this archive for the given process, or 0.
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

/// Sends the real program the signals that ask it to end.
class ProgramEndTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void programEnds_data() { signalRows(); }
    void programEnds()
    {
        const auto run = startRun();
        // The window loads the catalogue.
        QVERIFY(waitForRequest("/packages.json"_s, "GET"));
        QCOMPARE(stored("Language"), "(missing)"_s);
        run->send(signalOfRow());
        QVERIFY(run->endsWith(0));
        QCOMPARE(stored("Language"), "en"_s);
        QCOMPARE(stored("Cache"), profile().cacheFolder());
        QVERIFY(!QFile::exists(profile().dataFolder() + "kavo-suite.lock"_s));
    }

    void installationIsFinishedAndRecorded_data() { signalRows(); }
    void installationIsFinishedAndRecorded()
    {
        const GatedExtractor gate(profile().folder("gate"_s));
        const auto run = startInstalling(gate);
        QVERIFY(run);
        run->send(signalOfRow());
        run->send(signalOfRow());
        // The program still answers a second instance while it waits.
        ProgramRun later(QStringLiteral(KAVO_ORDERED_PROGRAM), {"-"_s, Extractor});
        later.start();
        QVERIFY(later.endsWith(0));
        QCOMPARE(later.standardError(), QByteArray());
        QVERIFY(run->isRunning());

        gate.open();
        QVERIFY(run->endsWith(0));
        const int done = recordedStatus(1) == 1 ? 1 : 2;
        const int waiting = 3 - done;
        QCOMPARE(recordedStatus(done), 1);
        QCOMPARE(wholeVersion(done), "1.0"_s);
        QCOMPARE(fileTree(simulator("folder-%1"_s.arg(done))),
                 expectedTree({{Engine::fileOf(done), Engine::contentOf(done, "1.0"_s)}}));
        // The other installation has not begun, and its archive is kept for the next start.
        QCOMPARE(recordedStatus(waiting), 4);
        QVERIFY(!QFileInfo::exists(simulator("folder-%1"_s.arg(waiting))));
        QVERIFY(QFile::exists(cachedArchive(waiting)));
        QCOMPARE(stored("Language"), "en"_s);
    }

    void downloadIsInterrupted_data() { signalRows(); }
    void downloadIsInterrupted()
    {
        constexpr qint64 Part = 123457;
        // Content that cannot be compressed.
        QByteArray content;
        for (int number = 0; content.size() < 1000000; ++number)
            content +=
                QCryptographicHash::hash(QByteArray::number(number), QCryptographicHash::Sha256);
        offer(Offer{3}.bringing({{"large"_s, content}}));
        serveCatalogue();
        archive(3).holdAfter = Part;
        QVERIFY(archive(3).size() > 2 * Part);
        const auto run = startRun(Extractor, {"Download"_s});
        const QString part = cachedArchive(3);
        QVERIFY(runUntil([&] { return QFileInfo(part).size() == Part; }));
        QVERIFY(runUntil([this] { return recordedStatus(1) == 1 && recordedStatus(2) == 1; }));
        run->send(signalOfRow());
        QVERIFY(run->endsWith(0));
        QCOMPARE(readFile(part), archive(3).read(0, Part));
        QCOMPARE(recordedStatus(3), 3);
        QCOMPARE(stored("Language"), "en"_s);
    }

    void questionIsAnsweredWithNo_data() { signalRows(); }
    void questionIsAnsweredWithNo()
    {
        const auto run = startRun(Extractor, {"Reset"_s});
        QVERIFY(runUntil([&run] { return run->standardOutput().contains("asks"); }));
        run->send(signalOfRow());
        QVERIFY(run->endsWith(0));
        // A reset would have cleared the settings and the database.
        QCOMPARE(stored("Language"), "en"_s);
        QVERIFY(QFile::exists(packageDatabase()));
    }

    void searchForTheSimulatorIsAborted_data() { signalRows(); }
    void searchForTheSimulatorIsAborted()
    {
        QFile::remove(profile().settingsFile());
        StandInLocate locate(QStringList{});
        locate.setScript("exec sleep 1000\n");
        const auto run = startRun();
        QVERIFY(runUntil([&locate] { return !locate.arguments().isEmpty(); }));
        run->send(signalOfRow());
        QVERIFY(run->endsWith(0));
        QVERIFY(!QFile::exists(profile().settingsFile()));
        QVERIFY(server().requests().isEmpty());
    }

    void questionForTheFolderIsAborted_data() { signalRows(); }
    void questionForTheFolderIsAborted()
    {
        QFile::remove(profile().settingsFile());
        const StandInLocate locate(QStringList{});
        const auto run = startRun();
        QVERIFY(runUntil([&run] { return run->standardOutput().contains("asks"); }));
        run->send(signalOfRow());
        QVERIFY(run->endsWith(0));
        QVERIFY(!QFile::exists(profile().settingsFile()));
        QVERIFY(server().requests().isEmpty());
    }

    void extractorIsNotEndedByTheSameSignal_data() { signalRows(); }
    void extractorIsNotEndedByTheSameSignal()
    {
        const GatedExtractor gate(profile().folder("gate"_s));
        const auto run = startInstalling(gate);
        QVERIFY(run);
        const QVector<pid_t> children = childrenOf(run->processId());
        QVERIFY(!children.isEmpty());
        // At the end of a session, all processes get the signal.
        run->send(signalOfRow());
        for (const pid_t child : children)
            ::kill(child, signalOfRow());
        gate.open();
        QVERIFY(run->endsWith(0));
        QVERIFY2(recordedStatus(1) == 1 || recordedStatus(2) == 1,
                 readFile(profile().logFile()).constData());
    }

    void sevenZipContinuesAfterTheSameSignal_data() { signalRows(); }
    void sevenZipContinuesAfterTheSameSignal()
    {
        constexpr int PieceSize = 45 * 1000 * 1000;
        constexpr int Pieces = 3;
        offer(Offer{3}.at("/large.bz2"_s).into("large"_s));
        serveCatalogue();
        server().resource("/large.bz2"_s).body =
            compressed(QByteArray(PieceSize, '\0'), "bz2"_s).repeated(Pieces);
        // In its own process group, as a shell starts it.
        ProgramRun run("/usr/bin/setsid"_s, {QStringLiteral(KAVO_ORDERED_PROGRAM),
                                             server().url(QString()), Extractor, "Download"_s});
        run.start();
        const QString unpacked = simulator("large/large"_s);
        pid_t unpacker = 0;
        const auto unpacks = [&] {
            unpacker = unpackerOf(run.processId(), "large.bz2");
            return unpacker > 0 && QFileInfo(unpacked).size() > 0;
        };
        QVERIFY(runUntil(unpacks));
        // 7-Zip must not finish before it gets the signal.
        ::kill(unpacker, SIGSTOP);
        QVERIFY(QFileInfo(unpacked).size() < qint64(PieceSize) * Pieces);
        // A terminal sends the signal to the process group, a desktop to each process.
        const auto group = static_cast<pid_t>(run.processId());
        QCOMPARE(::getpgid(group), group);
        ::kill(-group, signalOfRow());
        ::kill(unpacker, signalOfRow());
        ::kill(unpacker, SIGCONT);
        QVERIFY(run.endsWith(0));
        QVERIFY2(recordedStatus(3) == 1, readFile(profile().logFile()).constData());
        QCOMPARE(QFileInfo(unpacked).size(), qint64(PieceSize) * Pieces);
    }

    void ignoredHangUpStaysIgnored()
    {
        struct sigaction before = {};
        struct sigaction ignoring = {};
        ignoring.sa_handler = SIG_IGN;
        ::sigaction(SIGHUP, &ignoring, &before);
        const auto run = startRun();
        ::sigaction(SIGHUP, &before, nullptr);
        QVERIFY(waitForRequest("/packages.json"_s, "GET"));
        run->send(SIGHUP);
        // Starting another program takes longer than receiving a signal.
        ProgramRun later(QStringLiteral(KAVO_ORDERED_PROGRAM), {"-"_s, Extractor});
        later.start();
        QVERIFY(later.endsWith(0));
        QVERIFY(run->isRunning());
        run->send(SIGTERM);
        QVERIFY(run->endsWith(0));
    }

    void signalIsReportedOnce_data() { signalRows(); }
    void signalIsReportedOnce()
    {
        const Kavo::EndSignals heard;
        QSignalSpy requested(&heard, &Kavo::EndSignals::requested);
        QVERIFY(!heard.isRequested());
        ::raise(signalOfRow());
        ::raise(signalOfRow());
        QVERIFY(heard.isRequested());
        QVERIFY(requested.isEmpty());
        QVERIFY(requested.wait(Patience));
        // The second signal is not reported separately, even after further events.
        for (int turn = 0; turn < 3; ++turn)
            QCoreApplication::processEvents();
        QCOMPARE(requested.size(), 1);
        ::raise(signalOfRow());
        QVERIFY(requested.wait(Patience));
        QCOMPARE(requested.size(), 2);
    }

    void signalHandlersAreRestored_data() { signalRows(); }
    void signalHandlersAreRestored()
    {
        const int number = signalOfRow();
        struct sigaction before = {};
        struct sigaction own = {};
        struct sigaction after = {};
        own.sa_handler = [](int) {};
        ::sigaction(number, &own, &before);
        const auto restore =
            qScopeGuard([number, &before] { ::sigaction(number, &before, nullptr); });
        {
            const Kavo::EndSignals heard;
            ::raise(number);
            QVERIFY(heard.isRequested());
        }
        ::sigaction(number, nullptr, &after);
        QVERIFY(after.sa_handler == own.sa_handler);
        // A new object does not report signals that arrived before.
        const Kavo::EndSignals next;
        QVERIFY(!next.isRequested());
    }

    void queueContinuesIfTheSessionDoes_data()
    {
        Rows<bool>().row("after the time limit", true).row("before the time limit", false);
    }

    void queueContinuesIfTheSessionDoes()
    {
        const auto [goesOn] = Rows<bool>::current();
        const GatedExtractor gate(profile().folder("gate"_s));
        setExtractor(gate.program());
        QVERIFY(refresh());
        QWidget window;
        using std::chrono::milliseconds;
        Kavo::ProgramEnd end(window, controller(),
                             goesOn ? milliseconds(0) : milliseconds(std::chrono::hours(1)));
        install(1);
        QVERIFY(gate.waitUntilReached());
        install(2);
        QVERIFY(runUntil([this] { return recordedStatus(2) == 4; }));
        QTimer::singleShot(0, &window, [&gate] { gate.open(); });
        end.prepareForSessionEnd();
        // The running installation is finished and recorded, and no other one has begun.
        QCOMPARE(recordedStatus(1), 1);
        QCOMPARE(recordedStatus(2), 4);
        QVERIFY(!controller().isBusy());
        if (goesOn) {
            QVERIFY(runUntil([this] { return recordedStatus(2) == 1; }));
            return;
        }
        // Pending events do not resume the queue.
        QCoreApplication::processEvents();
        QVERIFY(!controller().isBusy());
        QCOMPARE(recordedStatus(2), 4);
    }

private:
    void setUp() override
    {
        for (const int id : {1, 2})
            offer(Offer{id}.into("folder-%1"_s.arg(id)));
        serveCatalogue();
        settle(profile());
    }
    static void signalRows()
    {
        Rows<int>().row("SIGTERM", SIGTERM).row("SIGINT", SIGINT).row("SIGHUP", SIGHUP);
    }
    static int signalOfRow() { return std::get<0>(Rows<int>::current()); }
    QString stored(const char *key) const { return Kavo::Testing::stored(profile(), key); }
    bool waitForRequest(const QString &path, const QByteArray &method)
    {
        return runUntil([&] { return server().last(method, path).method == method; });
    }
    /// Starts the program with the engine's server.
    std::unique_ptr<ProgramRun> startRun(const QString &extractor = Extractor,
                                         const QStringList &buttons = {})
    {
        auto run =
            std::make_unique<ProgramRun>(QStringLiteral(KAVO_ORDERED_PROGRAM),
                                         QStringList{server().url(QString()), extractor} + buttons);
        run->start();
        return run;
    }
    /// Starts a program that installs one package while another one waits. Returns null on failure.
    std::unique_ptr<ProgramRun> startInstalling(const GatedExtractor &gate)
    {
        auto run = startRun(gate.program(), {"Download"_s});
        const auto areThere = [this] { return recordedStatus(1) == 4 && recordedStatus(2) == 4; };
        return gate.waitUntilReached() && runUntil(areThere) ? std::move(run) : nullptr;
    }
};

KAVO_TEST_MAIN(ProgramEndTest)
#include "ProgramEndTest.moc"
