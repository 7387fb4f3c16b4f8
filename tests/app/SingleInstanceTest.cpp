#include "app/SingleInstance.h"
#include "app/AbstractSocket.h"
#include "tests/app/ProgramRun.h"
#include "tests/app/StoredSettings.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/RunUntil.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QLockFile>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <memory>
#include <thread>

#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo::Testing;
using Kavo::SingleInstance;

namespace {

const QString Program = QStringLiteral(KAVO_PROGRAM);

/// The modification time and the content of every file below the folder, by relative path.
QMap<QString, QPair<QDateTime, QByteArray>> everyFile(const QString &folder)
{
    QMap<QString, QPair<QDateTime, QByteArray>> found;
    const QStringList paths = filesUnder(folder);
    for (const QString &path : paths) {
        const QString file = folder + QLatin1Char('/') + path;
        found.insert(path, {QFileInfo(file).lastModified(), readFile(file)});
    }
    return found;
}

QByteArray lockTelling(qint64 process, const QString &program, const QString &machine)
{
    return QByteArray::number(process) + '\n' + program.toUtf8() + '\n' + machine.toUtf8() + '\n';
}

/// The name of the socket on which the program of a profile listens, from the system's list.
QByteArray nameOfSocket(const QString &folder)
{
    struct stat status = {};
    ::stat(QFile::encodeName(folder).constData(), &status);
    const QByteArray end = '/' + QByteArray::number(static_cast<qulonglong>(status.st_ino));
    const QList<QByteArray> lines = readFile("/proc/net/unix"_s).split('\n');
    for (const QByteArray &line : lines) {
        if (line.contains(" @kavo-suite/") && line.endsWith(end))
            return line.mid(line.indexOf('@') + 1);
    }
    return QByteArray();
}

/// Stores settings with which the program neither asks for anything nor uses a server.
void settleWithoutServer(const ScratchProfile &profile)
{
    settle(profile);
    store(profile, "LocalRepo", "true"_s);
}

} // namespace

/// Starts several instances of the real program, mostly on the same profile.
class SingleInstanceTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        settleWithoutServer(*m_profile);
    }

    void cleanup() { m_profile.reset(); }

    void laterProgramEndsAndTouchesNothing()
    {
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        QVERIFY(waitForWindow());
        auto before = everyFile(m_profile->home());
        QVERIFY(before.size() >= 4);

        QVERIFY(nextEndsInSilence());
        // The first instance tries to raise its window, and the off-screen platform logs that it
        // cannot.
        auto after = everyFile(m_profile->home());
        const QString log = ".local/share/Quarnell/Kavo Suite/log.txt"_s;
        const QByteArray logBefore = before.take(log).second;
        const QByteArray logAfter = after.take(log).second;
        QVERIFY2(logAfter.startsWith(logBefore), logAfter.constData());
        QVERIFY2(logAfter.mid(logBefore.size()).contains("raise"), logAfter.constData());
        QCOMPARE(after, before);
        QVERIFY(first.isRunning());
    }

    void profileIsFreeAfterAKill()
    {
        ProgramRun killed(Program);
        QVERIFY(killed.startAndWait(m_profile->logFile()));
        killed.send(SIGKILL);
        QVERIFY(killed.waitForEnd());
        QVERIFY(QFile::exists(lockFile()));

        ProgramRun next(Program);
        QVERIFY(next.startAndWait(m_profile->logFile()));
        // It has claimed the profile.
        QVERIFY(nextEndsInSilence());
        QVERIFY(next.isRunning());
    }

    void profileIsFreeAfterAnEnd()
    {
        const QString folder = m_profile->dataFolder();
        auto first = std::make_unique<SingleInstance>(folder);
        QVERIFY(first->claim(QByteArray()));
        QVERIFY(QFile::exists(lockFile()));
        first.reset();
        QVERIFY(!QFile::exists(lockFile()));
        SingleInstance second(folder);
        QVERIFY(second.claim(QByteArray()));
    }

    void staleLockIsIgnored_data()
    {
        const QString machine = QSysInfo::machineHostName();
        const QString name = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
        Rows<QByteArray>()
            .row("empty", "")
            .row("nonsense", QByteArray("\0\xff not a lock\n\n\n", 18))
            .row("of a process that is gone", lockTelling(4194304, "kavo-suite"_s, machine))
            .row("number that another program has now",
                 lockTelling(::getppid(), "kavo-suite"_s, machine))
            .row("number that a program of this name has now",
                 lockTelling(::getpid(), name, machine))
            .row("of a machine that has another name now",
                 lockTelling(::getpid(), name, "elsewhere"_s));
    }

    void staleLockIsIgnored()
    {
        const auto [remnant] = Rows<QByteArray>::current();
        QVERIFY(writeFile(lockFile(), remnant));
        ProgramRun program(Program);
        QVERIFY(program.startAndWait(m_profile->logFile()));
        const QByteArray lock = readFile(lockFile());
        QVERIFY2(lock.startsWith(QByteArray::number(program.processId()) + '\n'), lock.constData());
    }

    void otherProfileIsAnotherProgram()
    {
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        const ScratchProfile other;
        settleWithoutServer(other);
        ProgramRun second(Program);
        QVERIFY(second.startAndWait(other.logFile()));
        QVERIFY(first.isRunning());
    }

    void sameFolderByAnotherPathIsTheSameProfile()
    {
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        const QTemporaryDir elsewhere;
        const QString link = elsewhere.filePath("share"_s);
        QVERIFY(QFile::link(m_profile->home() + "/.local/share"_s, link));
        const QByteArray before = qgetenv("XDG_DATA_HOME");
        const auto restore = qScopeGuard([&before] { qputenv("XDG_DATA_HOME", before); });
        qputenv("XDG_DATA_HOME", QFile::encodeName(link));
        QVERIFY(nextEndsInSilence());
    }

    void stoppedProgramDoesNotBlockTheNext()
    {
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        const QByteArray log = readFile(m_profile->logFile());
        first.send(SIGSTOP);
        ProgramRun second(Program);
        second.start();
        const bool ended = second.endsWith(0);
        first.send(SIGCONT);
        QVERIFY(ended);
        QVERIFY(second.standardError().contains("does not answer"));
        QVERIFY(readFile(m_profile->logFile()).startsWith(log));
    }

    /// The backlog of the listening socket is full.
    void programWithAFullBacklogDoesNotBlockTheNext()
    {
        const int deaf = Kavo::listenAt(nameOfProfile());
        QVERIFY(deaf >= 0);
        QVector<int> asking;
        const auto close = qScopeGuard([deaf, &asking] {
            ::close(deaf);
            std::for_each(asking.cbegin(), asking.cend(), ::close);
        });
        int socket = -1;
        while ((socket = Kavo::connectTo(nameOfSocket(m_profile->dataFolder()))) >= 0)
            asking.append(socket);
        SingleInstance next(m_profile->dataFolder());
        QVERIFY(!next.claim(QByteArray()));
        QVERIFY(!next.isAnswered());
    }

    /// A program that is ending keeps the socket's name until its end, but no longer answers.
    void profileOfAProgramThatIsEndingIsFree()
    {
        const int ending = Kavo::listenAt(nameOfProfile());
        QVERIFY(ending >= 0);
        std::thread end([ending] {
            pollfd asked = {ending, POLLIN, 0};
            ::poll(&asked, 1, 30000);
            const int connection = Kavo::acceptAt(ending);
            ::close(ending);
            ::close(connection);
        });
        SingleInstance next(m_profile->dataFolder());
        const bool claimed = next.claim(QByteArray());
        end.join();
        QVERIFY(claimed);
    }

    /// For example the simulator that the program has started.
    void profileIsFreeWhileChildrenOfTheProgramRun()
    {
        auto first = std::make_unique<SingleInstance>(m_profile->dataFolder());
        QVERIFY(first->claim(QByteArray()));
        QProcess child;
        child.start("cat"_s, QStringList());
        QVERIFY(child.waitForStarted());
        first.reset();
        SingleInstance second(m_profile->dataFolder());
        QVERIFY(second.claim(QByteArray()));
        QCOMPARE(child.state(), QProcess::Running);
        child.closeWriteChannel();
        QVERIFY(child.waitForFinished());
    }

    void programThatLooksForTheSimulatorIsRunning()
    {
        QFile::remove(m_profile->settingsFile());
        const QString gate = m_profile->folder("gate"_s) + "pipe"_s;
        QCOMPARE(::mkfifo(QFile::encodeName(gate).constData(), 0600), 0);
        StandInLocate locate(QStringList{});
        locate.setScript("read -r line < '" + QFile::encodeName(gate) + "'\necho '" +
                         QFile::encodeName(m_profile->simulatorFolder()) + "X-Plane-x86_64'\n");
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        QVERIFY(runUntil([&locate] { return !locate.arguments().isEmpty(); }));
        ProgramRun second(Program);
        second.start();
        // The second program ends, whether it gets an answer in time or not. The first one
        // continues.
        QFile pipe(gate);
        QVERIFY(pipe.open(QIODevice::WriteOnly));
        pipe.write("go on\n");
        pipe.close();
        QVERIFY(second.endsWith(0));
        QVERIFY(waitForWindow());
        QVERIFY(first.isRunning());
    }

    void programThatAsksForTheFolderIsRunning()
    {
        QFile::remove(m_profile->settingsFile());
        const StandInLocate locate(QStringList{});
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        QVERIFY(runUntil([&locate] { return !locate.arguments().isEmpty(); }));
        QVERIFY(nextEndsInSilence());
        QVERIFY(first.isRunning());
    }

    void readOnlyFolderIsNoObstacle()
    {
        const QString folder = m_profile->dataFolder();
        const QString lock = lockFile();
        setMode(QFileInfo(m_profile->home()).path(), 0755);
        letEverybodyWrite(m_profile->home());
        setMode(folder, 0555);
        const auto restore = qScopeGuard([&folder] { setMode(folder, 0755); });
        const WithoutRights none;
        SingleInstance first(folder);
        QVERIFY(first.claim(QByteArray()));
        QVERIFY(!QFile::exists(lock));
        // The socket alone is enough.
        QVERIFY(nextEndsInSilence());

        SingleInstance nowhere("/nowhere/at/all/"_s);
        QVERIFY(nowhere.claim(QByteArray()));
    }

    void folderInPlaceOfTheLockIsNoObstacle()
    {
        QVERIFY(QDir().mkpath(lockFile()));
        ProgramRun first(Program);
        QVERIFY(first.startAndWait(m_profile->logFile()));
        QVERIFY(nextEndsInSilence());
        QVERIFY(QFileInfo(lockFile()).isDir());
    }

    void missingSocketIsNoObstacle()
    {
        const QString folder = m_profile->dataFolder();
        rlimit before = {};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none = {0, before.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &none), 0);
        SingleInstance instance(folder);
        const bool claimed = instance.claim(QByteArray());
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &before), 0);
        QVERIFY(claimed);
    }

    void lockIsEnoughWithoutTheSocket()
    {
        const QString folder = m_profile->dataFolder();
        // As if another machine shared the folder.
        QLockFile lock(lockFile());
        lock.setStaleLockTime(0);
        QVERIFY(lock.tryLock(0));
        SingleInstance here(folder);
        QVERIFY(!here.claim(QByteArray()));
        QVERIFY(!here.isAnswered());
        lock.unlock();
        QVERIFY(here.claim(QByteArray()));
    }

    void tokenIsHandedOver()
    {
        SingleInstance first(m_profile->dataFolder());
        QVERIFY(first.claim(QByteArray()));
        QSignalSpy asked(&first, &SingleInstance::showRequested);
        for (const char *variable : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN"}) {
            const auto restore = qScopeGuard([variable] { qunsetenv(variable); });
            qputenv(variable, QByteArray("of ") + variable + "_TIME123");
            QVERIFY(nextEndsInSilence());
            QCOMPARE(asked.size(), 1);
            QCOMPARE(asked.takeFirst().first().toByteArray(),
                     QByteArray("of ") + variable + "_TIME123");
        }
        QVERIFY(nextEndsInSilence());
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked.takeFirst().first().toByteArray(), QByteArray());
    }

    void otherUsersAreIgnored()
    {
        if (::getuid() != 0)
            QSKIP("Only root can act as another user");
        constexpr uid_t Nobody = 65534;
        const QString folder = m_profile->dataFolder();
        QByteArray name;
        {
            SingleInstance first(folder);
            QVERIFY(first.claim(QByteArray()));
            QSignalSpy asked(&first, &SingleInstance::showRequested);
            name = nameOfSocket(folder);
            QVERIFY(!name.isEmpty());
            QCOMPARE(::seteuid(Nobody), 0);
            QLocalSocket stranger;
            const int socket = Kavo::connectTo(name);
            QCOMPARE(::seteuid(0), 0);
            QVERIFY(stranger.setSocketDescriptor(socket));
            stranger.write("show \n");
            QVERIFY(runUntil(
                [&stranger] { return stranger.state() == QLocalSocket::UnconnectedState; }));
            QVERIFY(asked.isEmpty());
        }
        // Another user who listens on the name first does not prevent a start.
        QCOMPARE(::seteuid(Nobody), 0);
        const int stranger = Kavo::listenAt(name);
        QCOMPARE(::seteuid(0), 0);
        QVERIFY(stranger >= 0);
        const auto close = qScopeGuard([stranger] { ::close(stranger); });
        SingleInstance first(folder);
        QVERIFY(first.claim(QByteArray()));
        // The correct answer from another user is ignored: only the lock prevents a second start.
        std::atomic<bool> isOver{false};
        std::thread answers([stranger, &isOver] {
            while (!isOver) {
                pollfd asked = {stranger, POLLIN, 0};
                if (::poll(&asked, 1, 20) <= 0)
                    continue;
                const int connection = Kavo::acceptAt(stranger);
                const bool told = ::write(connection, "shown\n", 6) == 6;
                Q_UNUSED(told)
                ::close(connection);
            }
        });
        SingleInstance second(folder);
        const bool claimed = second.claim(QByteArray());
        isOver = true;
        answers.join();
        QVERIFY(!claimed);
        QVERIFY(!second.isAnswered());
    }

    void nonsenseIsIgnored()
    {
        SingleInstance first(m_profile->dataFolder());
        QVERIFY(first.claim(QByteArray()));
        QSignalSpy asked(&first, &SingleInstance::showRequested);
        QLocalSocket odd;
        QVERIFY(odd.setSocketDescriptor(Kavo::connectTo(nameOfSocket(m_profile->dataFolder()))));
        odd.write("\0hello\nshow", 11);
        QLocalSocket endless;
        QVERIFY(
            endless.setSocketDescriptor(Kavo::connectTo(nameOfSocket(m_profile->dataFolder()))));
        endless.write(QByteArray(100000, 'a'));
        QVERIFY(runUntil([&endless] { return endless.state() == QLocalSocket::UnconnectedState; }));
        QVERIFY(asked.isEmpty());
        // The rest of the request.
        odd.write(" \n");
        QVERIFY(runUntil([&odd] { return odd.canReadLine(); }));
        QCOMPARE(odd.readAll(), QByteArray("shown\n"));
        QCOMPARE(asked.size(), 1);
    }

    void onlyOneOfManySimultaneousStartsRuns()
    {
        constexpr int Count = 6;
        QVERIFY(writeFile(lockFile(), QByteArray()));
        QVector<std::shared_ptr<ProgramRun>> runs;
        for (int number = 0; number < Count; ++number)
            runs.append(std::make_shared<ProgramRun>(Program));
        for (const auto &run : qAsConst(runs))
            run->start();
        const auto running = [&runs] {
            return std::count_if(runs.cbegin(), runs.cend(),
                                 [](const auto &run) { return run->isRunning(); });
        };
        QVERIFY(runUntil([&running] { return running() <= 1; }, 60000));
        QCOMPARE(running(), 1);
        for (const auto &run : qAsConst(runs)) {
            QCOMPARE(run->standardError(), QByteArray());
            QVERIFY(run->isRunning() || run->endsWith(0));
        }
    }

private:
    /// Starts the program again. Returns whether it ends with success and prints no error.
    static bool nextEndsInSilence()
    {
        ProgramRun next(Program);
        next.start();
        return next.endsWith(0) && next.standardError().isEmpty();
    }
    /// Waits until the program's start is complete.
    bool waitForWindow() const
    {
        const QString database = m_profile->dataFolder() + "packages.db"_s;
        return runUntil([&database] {
            return readFile(database).contains("whole_versions") &&
                   !QFile::exists(database + "-journal"_s);
        });
    }
    /// The name of the socket for the profile, which must not be claimed at the moment.
    QByteArray nameOfProfile() const
    {
        SingleInstance instance(m_profile->dataFolder());
        return instance.claim(QByteArray()) ? nameOfSocket(m_profile->dataFolder()) : QByteArray();
    }
    QString lockFile() const { return m_profile->dataFolder() + "kavo-suite.lock"_s; }

    std::unique_ptr<ScratchProfile> m_profile;
};

KAVO_TEST_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
