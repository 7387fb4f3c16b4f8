#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <csignal>

using namespace Kavo::Testing;

namespace {

/// State and parent of a process as the system tells them, empty when there is none.
QByteArrayList processState(qint64 pid)
{
    const QByteArray line = readFile(QStringLiteral("/proc/%1/stat").arg(pid));
    return line.mid(line.lastIndexOf(')') + 1).simplified().split(' ').mid(0, 2);
}

/// Whether a process is there and not merely waiting to be forgotten.
bool isRunning(qint64 pid)
{
    const QByteArrayList state = processState(pid);
    return state.size() == 2 && state.first() != "Z" && state.first() != "X";
}

/// A running child of a process, 0 when it has none.
qint64 childOf(qint64 parent)
{
    const QStringList entries =
        QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        const qint64 pid = entry.toLongLong();
        if (pid > 0 && isRunning(pid) && processState(pid).last().toLongLong() == parent)
            return pid;
    }
    return 0;
}

/// A small archive that keeps 7-Zip busy for many seconds: zeros, packed once and repeated.
QByteArray largeArchive(qint64 unpackedSize)
{
    constexpr qint64 Piece = Q_INT64_C(45) * 1000 * 1000;
    const QTemporaryDir folder;
    QFile zeros(folder.filePath(QStringLiteral("zeros")));
    if (!zeros.open(QIODevice::WriteOnly) || !zeros.resize(Piece))
        return QByteArray();
    const QString packed = folder.filePath(QStringLiteral("zeros.bz2"));
    if (QProcess::execute(QStringLiteral("/usr/bin/7z"),
                          {QStringLiteral("a"), QStringLiteral("-bso0"), QStringLiteral("-bsp0"),
                           packed, zeros.fileName()}) != 0)
        return QByteArray();
    return readFile(packed).repeated(static_cast<int>(unpackedSize / Piece));
}

} // namespace

/// 7-Zip must not go on writing into the simulator when the program is dead.
class ExtractorEndTest final : public QObject
{
    Q_OBJECT

private slots:
    void extractorDiesWithTheProgram_data();
    void extractorDiesWithTheProgram();
};

void ExtractorEndTest::extractorDiesWithTheProgram_data()
{
    QTest::addColumn<QByteArray>("command");
    // One compressed file has no index: it is read to its end before it is unpacked.
    QTest::newRow("looking at the archive") << QByteArray("t");
    QTest::newRow("unpacking") << QByteArray("x");
}

void ExtractorEndTest::extractorDiesWithTheProgram()
{
    QFETCH(QByteArray, command);
    constexpr qint64 UnpackedSize = Q_INT64_C(4) * 1000 * 1000 * 1000;
    Engine engine;
    Offer offer{7};
    offer.link = QStringLiteral("/large.bz2");
    offer.extract = QStringLiteral("large");
    offer.remove = QStringList{offer.extract};
    engine.offer(offer);
    engine.serveCatalogue();
    const HttpResource good = engine.server().resource(offer.link);
    engine.server().resource(offer.link).body = largeArchive(UnpackedSize);
    QVERIFY(engine.server().resource(offer.link).body.size() > good.body.size());

    QProcess driver;
    driver.start(QStringLiteral(ENGINE_DRIVER),
                 {engine.server().url(QString()), engine.profile().simulatorFolder(),
                  QStringLiteral("install"), QStringLiteral("7")});
    const QString unpacked = engine.simulator(QStringLiteral("large/large"));
    qint64 extractor = 0;
    const auto isBusy = [&] {
        extractor = childOf(driver.processId());
        const QByteArray words = readFile(QStringLiteral("/proc/%1/cmdline").arg(extractor));
        return words.contains("7z") && words.split('\0').value(1) == command &&
               (command != "x" || QFileInfo(unpacked).size() > 0);
    };
    QTRY_VERIFY_WITH_TIMEOUT(isBusy(), 120000);
    QVERIFY(extractor > 0);
    const auto end = qScopeGuard([extractor] {
        if (isRunning(extractor))
            ::kill(static_cast<pid_t>(extractor), SIGKILL);
    });
    driver.kill();
    QTRY_COMPARE(driver.state(), QProcess::NotRunning);
    QTRY_VERIFY(!isRunning(extractor));
    QVERIFY(QFileInfo(unpacked).size() < UnpackedSize);
    QCOMPARE(engine.recordedStatus(7), 4);

    engine.server().resource(offer.link) = good;
    driver.start(driver.program(), driver.arguments());
    QTRY_COMPARE_WITH_TIMEOUT(driver.state(), QProcess::NotRunning, 30000);
    QCOMPARE(driver.exitCode(), 0);
    QCOMPARE(engine.recordedStatus(7), 1);
    QCOMPARE(fileTree(engine.simulator(offer.extract)),
             expectedTree({{Engine::fileOf(7), Engine::contentOf(7, QStringLiteral("1.0"))}}));
}

KAVO_TEST_MAIN(ExtractorEndTest)
#include "ExtractorEndTest.moc"
