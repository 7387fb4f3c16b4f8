#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>
#include <QSemaphore>
#include <QThread>

#include <utility>

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

/// Memory that this process occupies, in bytes.
qint64 residentMemory()
{
    const QByteArray pages = readFile(QStringLiteral("/proc/self/statm")).split(' ').value(1);
    return pages.toLongLong() * 4096;
}

/// A server that sends also while the test's own thread is busy.
class ServerThread final : public QThread
{
public:
    ServerThread()
    {
        start();
        m_ready.acquire();
    }
    ~ServerThread() override
    {
        quit();
        wait();
    }
    Q_DISABLE_COPY_MOVE(ServerThread)

    QString url() const { return m_url; }
    static constexpr qint64 Size = 96 * Mebibyte;

protected:
    void run() override
    {
        TestHttpServer server;
        server.serveGenerated(QStringLiteral("/a"), Size);
        m_url = server.url(QStringLiteral("/a"));
        m_ready.release();
        exec();
    }

private:
    QSemaphore m_ready;
    QString m_url;
};

} // namespace

/// How much of a body stands in memory.
class TransferMemoryTest final : public QObject
{
    Q_OBJECT

private slots:
    void slowDiskDoesNotFillTheMemory();
};

/// The writing side stands still, as with a disk that is slower than the network, until the memory
/// has grown over the bound or would have had the time to.
void TransferMemoryTest::slowDiskDoesNotFillTheMemory()
{
    constexpr qint64 Bound = 48 * Mebibyte;
    constexpr int StandstillInMilliseconds = 3000;
    DownloadSetup setup;
    const ServerThread server;
    const auto download = DownloadSetup::restart(server.url());
    DownloadEvents events(download);
    qint64 growth = 0;
    const auto standStill = [&growth] {
        const qint64 before = residentMemory();
        const QDeadlineTimer deadline(StandstillInMilliseconds);
        while (growth < Bound && !deadline.hasExpired())
            growth = residentMemory() - before;
    };
    bool stoodStill = false;
    connect(download.data(), &Download::currentSize, this, [&] {
        if (!std::exchange(stoodStill, true))
            standStill();
    });
    setup.manager().add(download, false);
    QVERIFY(events.waitForFinished(60000));
    QVERIFY2(growth < Bound, qPrintable(QStringLiteral("%1 bytes").arg(growth)));
    QCOMPARE(QFileInfo(download->getPath()).size(), ServerThread::Size);
}

KAVO_TEST_MAIN(TransferMemoryTest)
#include "TransferMemoryTest.moc"
