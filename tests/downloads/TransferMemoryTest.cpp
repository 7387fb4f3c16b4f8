#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDeadlineTimer>
#include <QSemaphore>
#include <QThread>

#include <utility>

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

/// The resident memory of this process in bytes. Assumes pages of 4096 bytes.
qint64 residentMemory()
{
    const QByteArray pages = readFile("/proc/self/statm"_s).split(' ').value(1);
    return pages.toLongLong() * 4096;
}

/// Runs a server in its own thread, so that it can send while the test's thread is blocked. The
/// constructor waits until the server is listening.
class ServerThread final : public QThread
{
public:
    explicit ServerThread(const HttpResource &resource = HttpResource()) : m_resource(resource)
    {
        m_resource.generatedSize = Size;
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
        server.resource("/a"_s) = m_resource;
        m_url = server.url("/a"_s);
        m_ready.release();
        exec();
    }

private:
    HttpResource m_resource;
    QSemaphore m_ready;
    QString m_url;
};

} // namespace

/// Tests that the memory of a transfer does not grow with the size of its file.
class TransferMemoryTest final : public QObject
{
    Q_OBJECT

private slots:
    /// Blocks the writing thread, like a disk that is slower than the network, until the memory has
    /// exceeded the bound or has had enough time to do so.
    void slowDiskDoesNotFillTheMemory()
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
        QVERIFY2(growth < Bound, qPrintable("%1 bytes"_s.arg(growth)));
        QCOMPARE(QFileInfo(download->getPath()).size(), ServerThread::Size);
    }

    void bodyThatIsNotWrittenDoesNotFillTheMemory_data()
    {
        Rows<QString, int>()
            .row("place that cannot be opened", "/no/such/folder/file", 200)
            .row("place that cannot be written", "/dev/full", 200)
            .row("page of an error", "", 503);
    }

    void bodyThatIsNotWrittenDoesNotFillTheMemory()
    {
        const auto [linkTarget, status] = Rows<QString, int>::current();
        constexpr qint64 Bound = 48 * Mebibyte;
        DownloadSetup setup;
        HttpResource resource;
        resource.getStatus = status;
        const ServerThread server(resource);
        const auto download = DownloadSetup::resumable(server.url());
        DownloadEvents events(download);
        if (!linkTarget.isEmpty())
            QVERIFY(QFile::link(linkTarget, setup.path("a"_s)));
        const qint64 before = residentMemory();
        qint64 growth = 0;
        // Buffered bytes would stay in memory until the transfer ends.
        const auto measure = [&] { growth = qMax(growth, residentMemory() - before); };
        connect(download.data(), &Download::currentSize, this, measure);
        connect(download.data(), &Download::processChanged, this, measure);
        setup.manager().add(download, false);
        QVERIFY(events.waitForFinished(60000));
        QVERIFY2(growth < Bound, qPrintable("%1 bytes"_s.arg(growth)));
        QVERIFY(events.list().contains("error Server Error"_s));
    }
};

KAVO_TEST_MAIN(TransferMemoryTest)
#include "TransferMemoryTest.moc"
