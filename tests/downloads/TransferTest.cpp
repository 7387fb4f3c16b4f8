#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestMain.h"

#include <algorithm>

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Transfers that go well: phases, requests, resumption and sizes.
class TransferTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void freshFileIsProbedAndFetched();
    void completeFileNeedsNoGet();
    void partialFileIsResumed();
    void burstIsAnnouncedAtOnce_data();
    void burstIsAnnouncedAtOnce();
    void emptyPartIsResumedFromTheStart();
    void largerFileIsFetchedWhole();
    void folderInTheWayIsLeftAlone();
    void restartDeletesAndFetches();
    void restartDoesNotProbe();
    void emptyBodyMakesAnEmptyFile_data();
    void emptyBodyMakesAnEmptyFile();
    void probeWithoutLengthOrDateAppends_data();
    void probeWithoutLengthOrDateAppends();
    void resumableTransfersAreNotCompressed();
    void compressedAnswersAreWrittenPlain();
    void answersCompressedUnaskedAreWrittenPlain_data();
    void answersCompressedUnaskedAreWrittenPlain();
    void bodyOfUnknownLengthIsWritten_data();
    void bodyOfUnknownLengthIsWritten();
    void redirectsAreFollowed_data();
    void redirectsAreFollowed();
    void lengthOfTheLastAnswerCounts();
    void phasesWaitForTheServer();
    void sizesBeyondFourGibibytes();
    void completeFileBeyondFourGibibytes();
    void partBeyondFourGibibytesIsResumed();
    void largeBodyArrivesByteForByte();
    void interruptedTransferGoesOnInTheNextRun();
    void nginxResumes();

private:
    QString url(const char *path) const { return m_setup->server().url(QString::fromLatin1(path)); }
    TestHttpServer &server() const { return m_setup->server(); }
    QString path(const char *name) const { return m_setup->path(QString::fromLatin1(name)); }
    QByteArray content(const char *name) const
    {
        return m_setup->content(QString::fromLatin1(name));
    }
    QByteArray range(const char *path) const
    {
        return server().last("GET", QString::fromLatin1(path)).header("Range");
    }
    void makeSparse(const char *name, qint64 size) const;
    static QStringList probeAndGet(const char *path);

    QScopedPointer<DownloadSetup> m_setup;
};

void TransferTest::init()
{
    m_setup.reset(new DownloadSetup);
}

void TransferTest::cleanup()
{
    m_setup.reset();
}

void TransferTest::makeSparse(const char *name, qint64 size) const
{
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(size));
}

QStringList TransferTest::probeAndGet(const char *path)
{
    return {QStringLiteral("HEAD ") + QLatin1String(path),
            QStringLiteral("GET ") + QLatin1String(path)};
}

void TransferTest::freshFileIsProbedAndFetched()
{
    server().serve(QStringLiteral("/a.7z"), HttpResource::generated(0, 5000));
    const auto download = DownloadSetup::resumable(url("/a.7z"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().log(), probeAndGet("/a.7z"));
    QCOMPARE(events.list(), resumableEvents(5000, path("a.7z")));
    QCOMPARE(events.currentSizes().last(), 5000);
    QVERIFY(!server().last("GET", QStringLiteral("/a.7z")).hasHeader("Range"));
    QCOMPARE(content("a.7z"), HttpResource::generated(0, 5000));
    QCOMPARE(m_setup->log().lines(), QStringList());
}

void TransferTest::completeFileNeedsNoGet()
{
    server().serve(QStringLiteral("/a"), "content");
    QVERIFY(m_setup->put(QStringLiteral("a"), "CONTENT"));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().log(), QStringList(QStringLiteral("HEAD /a")));
    QCOMPARE(events.list(),
             QStringList({QStringLiteral("process 1"), QStringLiteral("fileSize 7"),
                          QStringLiteral("process 3"), QStringLiteral("finished ") + path("a")}));
    QCOMPARE(events.currentSizes(), QList<qint64>());
    QCOMPARE(content("a"), QByteArray("CONTENT"));
}

void TransferTest::partialFileIsResumed()
{
    const QByteArray body = HttpResource::generated(0, 5000);
    server().serve(QStringLiteral("/a"), body);
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().log(), probeAndGet("/a"));
    QCOMPARE(range("/a"), QByteArray("bytes=1000-"));
    QVERIFY(!server().last("HEAD", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(events.list(), resumableEvents(5000, path("a")));
    const QList<qint64> sizes = events.currentSizes();
    QVERIFY(std::is_sorted(sizes.cbegin(), sizes.cend()));
    QVERIFY(sizes.first() >= 1000);
    QCOMPARE(sizes.last(), 5000);
    QCOMPARE(content("a"), body);
}

void TransferTest::burstIsAnnouncedAtOnce_data()
{
    QTest::addColumn<int>("part");
    QTest::newRow("fresh") << 0;
    QTest::newRow("resumed") << 1000;
}

/// The network layer reports progress every now and then only: what came at once and then paused
/// must show.
void TransferTest::burstIsAnnouncedAtOnce()
{
    QFETCH(int, part);
    constexpr int Burst = 2000000;
    server().serveGenerated(QStringLiteral("/a"), 3 * Burst).holdAfter = Burst;
    if (part > 0)
        QVERIFY(m_setup->put(QStringLiteral("a"), HttpResource::generated(0, part)));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QTRY_COMPARE(QFileInfo(path("a")).size(), Burst + part);
    QTRY_COMPARE(download->getCurrentSize(), Burst + part);
    QCOMPARE(events.currentSizes().last(), Burst + part);
    server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    QCOMPARE(events.currentSizes().last(), 3 * Burst);
}

void TransferTest::emptyPartIsResumedFromTheStart()
{
    server().serve(QStringLiteral("/a"), "content");
    QVERIFY(m_setup->put(QStringLiteral("a"), ""));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(range("/a"), QByteArray("bytes=0-"));
    QCOMPARE(content("a"), QByteArray("content"));
}

void TransferTest::largerFileIsFetchedWhole()
{
    server().serve(QStringLiteral("/a"), "content");
    QVERIFY(m_setup->put(QStringLiteral("a"), "something longer"));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(content("a"), QByteArray("content"));
    QCOMPARE(events.list(), resumableEvents(7, path("a")));
}

void TransferTest::folderInTheWayIsLeftAlone()
{
    server().serve(QStringLiteral("/a"), "content");
    QVERIFY(QDir().mkpath(path("a")));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QVERIFY(QFileInfo(path("a")).isDir());
    QCOMPARE(download->getProcess(), Download::Process::Finished);
}

void TransferTest::restartDeletesAndFetches()
{
    for (const char *before : {"", "conten", "CONTENT", "something longer"}) {
        server().serve(QStringLiteral("/a"), "content");
        QVERIFY(m_setup->put(QStringLiteral("a"), before));
        const auto download = DownloadSetup::restart(url("/a"));
        DownloadEvents events(download);
        m_setup->manager().add(download, false);
        QVERIFY(!QFile::exists(path("a")));
        QVERIFY(events.waitForFinished());
        QCOMPARE(events.list(), restartEvents(7, path("a")));
        QCOMPARE(content("a"), QByteArray("content"));
    }
}

void TransferTest::restartDoesNotProbe()
{
    server().serve(QStringLiteral("/a"), "content");
    const auto download = DownloadSetup::restart(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QCOMPARE(download->getProcess(), Download::Process::Download);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().log(), QStringList(QStringLiteral("GET /a")));
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
}

void TransferTest::emptyBodyMakesAnEmptyFile_data()
{
    QTest::addColumn<bool>("restart");
    QTest::newRow("resumable") << false;
    QTest::newRow("restart") << true;
}

void TransferTest::emptyBodyMakesAnEmptyFile()
{
    QFETCH(bool, restart);
    server().serve(QStringLiteral("/a"), "");
    const auto download =
        restart ? DownloadSetup::restart(url("/a")) : DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QVERIFY(QFile::exists(path("a")));
    QCOMPARE(content("a"), QByteArray(""));
    QCOMPARE(m_setup->log().lines(), QStringList());
}

void TransferTest::probeWithoutLengthOrDateAppends_data()
{
    QTest::addColumn<bool>("withoutLength");
    QTest::addColumn<bool>("withoutDate");
    QTest::newRow("no length") << true << false;
    QTest::newRow("no date") << false << true;
    QTest::newRow("neither") << true << true;
}

void TransferTest::probeWithoutLengthOrDateAppends()
{
    QFETCH(bool, withoutLength);
    QFETCH(bool, withoutDate);
    HttpResource &resource = server().serve(QStringLiteral("/a"), "content");
    resource.headWithoutLength = withoutLength;
    resource.headWithoutDate = withoutDate;
    QVERIFY(m_setup->put(QStringLiteral("a"), "abc"));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(content("a"), QByteArray("abccontent"));
    // The size is learnt from the body instead.
    QCOMPARE(events.list(), QStringList({QStringLiteral("process 1"), QStringLiteral("process 2"),
                                         QStringLiteral("fileSize 7"), QStringLiteral("process 3"),
                                         QStringLiteral("finished ") + path("a")}));
    QCOMPARE(events.currentSizes().last(), 10);
}

void TransferTest::resumableTransfersAreNotCompressed()
{
    const QByteArray body(100000, 'x');
    server().serve(QStringLiteral("/a"), body).compresses = true;
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().last("HEAD", QStringLiteral("/a")).header("Accept-Encoding"),
             QByteArray("identity"));
    QCOMPARE(server().last("GET", QStringLiteral("/a")).header("Accept-Encoding"),
             QByteArray("identity"));
    QCOMPARE(content("a"), body);
}

void TransferTest::compressedAnswersAreWrittenPlain()
{
    const QByteArray body(100000, 'x');
    server().serve(QStringLiteral("/a"), body).compresses = true;
    const auto download = DownloadSetup::restart(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QVERIFY(server().last("GET", QStringLiteral("/a")).header("Accept-Encoding").contains("gzip"));
    QCOMPARE(content("a"), body);
}

void TransferTest::answersCompressedUnaskedAreWrittenPlain_data()
{
    QTest::addColumn<int>("part");
    QTest::newRow("fresh") << 0;
    QTest::newRow("with a part") << 1000;
}

void TransferTest::answersCompressedUnaskedAreWrittenPlain()
{
    QFETCH(int, part);
    const QByteArray body = HttpResource::generated(0, 3000000);
    server().serve(QStringLiteral("/a"), body).compressesUnasked = true;
    if (part > 0)
        QVERIFY(m_setup->put(QStringLiteral("a"), body.left(part)));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(events.list(), resumableEvents(body.size(), path("a")));
    QVERIFY(content("a") == body);
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QVERIFY(m_setup->log().lines().isEmpty());
}

void TransferTest::bodyOfUnknownLengthIsWritten_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::newRow("chunks") << true;
    QTest::newRow("until the end of the connection") << false;
}

void TransferTest::bodyOfUnknownLengthIsWritten()
{
    QFETCH(bool, chunked);
    HttpResource &resource = server().serveGenerated(QStringLiteral("/a"), 300000);
    resource.chunked = chunked;
    resource.getWithoutLength = !chunked;
    const auto download = DownloadSetup::restart(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(content("a"), HttpResource::generated(0, 300000));
    QCOMPARE(events.list().filter(QStringLiteral("error")), QStringList());
    QCOMPARE(events.list().last(), QString(QStringLiteral("finished ") + path("a")));
}

void TransferTest::redirectsAreFollowed_data()
{
    QTest::addColumn<bool>("otherHost");
    QTest::newRow("same host") << false;
    QTest::newRow("other host") << true;
}

void TransferTest::redirectsAreFollowed()
{
    QFETCH(bool, otherHost);
    const QByteArray body = HttpResource::generated(0, 5000);
    server().serve(QStringLiteral("/real"), body);
    server().serve(QStringLiteral("/a"), "").redirect =
        otherHost ? server().otherHostUrl(QStringLiteral("/real")).toLatin1() : "/real";
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    // Qt now and then repeats a request that was answered with a redirect.
    QStringList log = server().log();
    log.removeDuplicates();
    QCOMPARE(log, QStringList({QStringLiteral("HEAD /a"), QStringLiteral("HEAD /real"),
                               QStringLiteral("GET /a"), QStringLiteral("GET /real")}));
    QCOMPARE(range("/real"), QByteArray("bytes=1000-"));
    QCOMPARE(events.list(), resumableEvents(5000, path("a")));
    QCOMPARE(content("a"), body);
}

void TransferTest::lengthOfTheLastAnswerCounts()
{
    // So it looks when Qt keeps the headers of a redirect before those of the file.
    const QByteArray body = HttpResource::generated(0, 5000);
    server().serve(QStringLiteral("/a"), body).headers = {{"Content-Length", "145"}};
    QVERIFY(m_setup->put(QStringLiteral("a"), body));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(download->getFileSize(), 5000);
    QCOMPARE(server().log(), QStringList(QStringLiteral("HEAD /a")));
}

void TransferTest::phasesWaitForTheServer()
{
    HttpResource &resource = server().serveGenerated(QStringLiteral("/a"), 5000);
    resource.holdsHead = true;
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(server().waitForRequests(1));
    QCOMPARE(download->getProcess(), Download::Process::Header);
    server().release(QStringLiteral("/a"));
    server().resource(QStringLiteral("/a")).holdAfter = 1234;
    QVERIFY(server().waitForRequests(2));
    // Nothing waits in memory for the rest to come.
    QTRY_COMPARE(QFileInfo(path("a")).size(), 1234);
    QCOMPARE(download->getProcess(), Download::Process::Download);
    server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    QCOMPARE(content("a"), HttpResource::generated(0, 5000));
}

void TransferTest::sizesBeyondFourGibibytes()
{
    constexpr qint64 FiveGibibytes = Q_INT64_C(5) * 1024 * 1024 * 1024;
    server().serveGenerated(QStringLiteral("/a"), FiveGibibytes).holdAfter = 1000;
    const auto download = DownloadSetup::resumable(url("/a"));
    const DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QTRY_COMPARE(QFileInfo(path("a")).size(), 1000);
    QCOMPARE(download->getFileSize(), FiveGibibytes);
    QVERIFY(events.list().contains(QStringLiteral("fileSize 5368709120")));
}

void TransferTest::completeFileBeyondFourGibibytes()
{
    constexpr qint64 FiveGibibytes = Q_INT64_C(5) * 1024 * 1024 * 1024;
    server().serveGenerated(QStringLiteral("/a"), FiveGibibytes);
    makeSparse("a", FiveGibibytes);
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().log(), QStringList(QStringLiteral("HEAD /a")));
    QCOMPARE(download->getFileSize(), FiveGibibytes);
}

void TransferTest::partBeyondFourGibibytesIsResumed()
{
    constexpr qint64 Part = Q_INT64_C(4) * 1024 * 1024 * 1024 + 7;
    server().serveGenerated(QStringLiteral("/a"), Part + 1000);
    makeSparse("a", Part);
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(range("/a"), QByteArray("bytes=4294967303-"));
    QCOMPARE(events.currentSizes().last(), Part + 1000);
    QFile file(path("a"));
    QVERIFY(file.open(QIODevice::ReadOnly) && file.seek(Part));
    QCOMPARE(file.readAll(), HttpResource::generated(Part, 1000));
}

void TransferTest::largeBodyArrivesByteForByte()
{
    constexpr qint64 Size = Q_INT64_C(30) * 1024 * 1024 + 11;
    server().serveGenerated(QStringLiteral("/a"), Size);
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished(60000));
    QVERIFY(content("a") == HttpResource::generated(0, Size));
    const QList<qint64> sizes = events.currentSizes();
    QVERIFY(std::is_sorted(sizes.cbegin(), sizes.cend()));
    QCOMPARE(sizes.last(), Size);
}

void TransferTest::interruptedTransferGoesOnInTheNextRun()
{
    server().serveGenerated(QStringLiteral("/a"), 100000).holdAfter = 40000;
    {
        const auto download = DownloadSetup::resumable(url("/a"));
        m_setup->manager().add(download, false);
        QTRY_COMPARE(QFileInfo(path("a")).size(), 40000);
        m_setup->endManager();
    }
    server().resource(QStringLiteral("/a")).holdAfter.reset();
    m_setup->restartManager();
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(range("/a"), QByteArray("bytes=40000-"));
    QCOMPARE(content("a"), HttpResource::generated(0, 100000));
}

void TransferTest::nginxResumes()
{
    if (!Nginx::isAvailable())
        QSKIP("there is no nginx here");
    const Nginx nginx;
    QVERIFY(nginx.isRunning());
    const QByteArray body = HttpResource::generated(0, 3000000);
    QVERIFY(writeFile(nginx.folder() + QStringLiteral("an archive.7z"), body));
    QVERIFY(m_setup->put(QStringLiteral("an archive.7z"), body.left(1234567)));
    for (int run = 0; run < 2; ++run) {
        // The second run finds the file complete.
        const auto download = DownloadSetup::resumable(nginx.url(QStringLiteral("/an archive.7z")));
        DownloadEvents events(download);
        m_setup->manager().add(download, false);
        QVERIFY(events.waitForFinished());
        QCOMPARE(events.currentSizes().isEmpty(), run == 1);
        QCOMPARE(download->getFileSize(), body.size());
        QVERIFY(content("an archive.7z") == body);
    }
    QCOMPARE(m_setup->log().lines(), QStringList());
}

KAVO_TEST_MAIN(TransferTest)
#include "TransferTest.moc"
