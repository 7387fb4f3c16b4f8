#include "tests/packages/EngineTest.h"
#include "tests/packages/UpdateSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>

#include <csignal>

using namespace Kavo::Testing;

namespace {

/// State and parent of a process from /proc; empty if there is no such process.
QByteArrayList processState(qint64 pid)
{
    const QByteArray line = readFile("/proc/%1/stat"_s.arg(pid));
    return line.mid(line.lastIndexOf(')') + 1).simplified().split(' ').mid(0, 2);
}

/// Whether a process exists and is not a zombie.
bool isRunning(qint64 pid)
{
    const QByteArrayList state = processState(pid);
    return state.size() == 2 && state.first() != "Z" && state.first() != "X";
}

/// A running child of a process, or 0.
qint64 childOf(qint64 parent)
{
    const QStringList entries = QDir("/proc"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        const qint64 pid = entry.toLongLong();
        if (pid > 0 && isRunning(pid) && processState(pid).last().toLongLong() == parent)
            return pid;
    }
    return 0;
}

/// A small archive that keeps 7-Zip busy for many seconds: zeros, compressed once and repeated.
QByteArray largeArchive(qint64 unpackedSize)
{
    constexpr int Piece = 45'000'000;
    const QByteArray packed = compressed(QByteArray(Piece, '\0'), "bz2"_s);
    return packed.repeated(static_cast<int>(unpackedSize / Piece));
}

} // namespace

/// Kills the engine during an installation. The next start finishes it.
class SuddenEndTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void downloadResumesWithTheMissingBytes()
    {
        constexpr qint64 FirstPart = 123457;
        const Files files{{"one.txt"_s, noise(1, 2000000)}, {"two.txt"_s, noise(2, 500000)}};
        offer(Offer{7}.bringing(files).into("a"_s));
        serveCatalogue();
        archive(7).holdAfter = FirstPart;
        m_driver.start();
        QTRY_COMPARE_WITH_TIMEOUT(QFileInfo(cachedArchive(7)).size(), FirstPart, 20000);
        kill();
        QCOMPARE(recordedStatus(7), int(State::DOWNLOADING));

        archive(7).holdAfter.reset();
        server().forgetRequests();
        finish();
        QCOMPARE(server().last("GET", "/package-7-1.0.zip"_s).header("Range"),
                 "bytes=" + QByteArray::number(FirstPart) + '-');
        QCOMPARE(fileTree(simulator("a"_s)), expectedTree(files));
    }

    void extractorEndsWithTheProgram_data()
    {
        // A compressed file without an index is read to its end before it is unpacked.
        Rows<QByteArray>().row("reading the archive", "t").row("unpacking", "x");
    }

    /// 7-Zip must not write into the simulator after the program has ended.
    void extractorEndsWithTheProgram()
    {
        const QByteArray command = std::get<0>(Rows<QByteArray>::current());
        constexpr qint64 UnpackedSize = 4'000'000'000;
        const QString link = "/large.bz2"_s;
        offer(Offer{7}.at(link).into("large"_s).removing({"large"_s}));
        serveCatalogue();
        const HttpResource good = server().resource(link);
        server().resource(link).body = largeArchive(UnpackedSize);
        QVERIFY(server().resource(link).body.size() > good.body.size());

        m_driver.start();
        const QString unpacked = simulator("large/large"_s);
        qint64 extractor = 0;
        const auto isBusy = [&] {
            extractor = childOf(m_driver.processId());
            const QByteArray words = readFile("/proc/%1/cmdline"_s.arg(extractor));
            return words.contains("7z") && words.split('\0').value(1) == command &&
                   (command != "x" || QFileInfo(unpacked).size() > 0);
        };
        QTRY_VERIFY_WITH_TIMEOUT(isBusy(), 120000);
        QVERIFY(extractor > 0);
        const auto end = qScopeGuard([extractor] {
            if (isRunning(extractor))
                ::kill(static_cast<pid_t>(extractor), SIGKILL);
        });
        kill();
        QTRY_VERIFY(!isRunning(extractor));
        QVERIFY(QFileInfo(unpacked).size() < UnpackedSize);
        QCOMPARE(recordedStatus(7), int(State::INSTALLING));

        server().resource(link) = good;
        finish();
        QCOMPARE(fileTree(simulator("large"_s)),
                 expectedTree({{Engine::fileOf(7), Engine::contentOf(7, "1.0"_s)}}));
    }

private:
    void setUp() override
    {
        m_driver.setProgram(QStringLiteral(ENGINE_DRIVER));
        m_driver.setArguments({server().url({}), simulator({}), "install"_s, "7"_s});
    }

    void kill()
    {
        m_driver.kill();
        QTRY_COMPARE(m_driver.state(), QProcess::NotRunning);
        QCOMPARE(m_driver.exitStatus(), QProcess::CrashExit);
    }

    void finish()
    {
        m_driver.start();
        QTRY_COMPARE_WITH_TIMEOUT(m_driver.state(), QProcess::NotRunning, 30000);
        QCOMPARE(m_driver.exitCode(), 0);
        QCOMPARE(recordedStatus(7), int(State::INSTALLED));
    }

    QProcess m_driver;
};

KAVO_TEST_MAIN(SuddenEndTest)
#include "SuddenEndTest.moc"
