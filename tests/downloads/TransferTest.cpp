#include "tests/downloads/DownloadFixture.h"
#include "tests/support/Files.h"
#include "tests/support/Nginx.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <algorithm>

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

constexpr qint64 Gibibyte = Q_INT64_C(1024) * 1024 * 1024;

} // namespace

/// Tests successful transfers: phases, requests, resumption and sizes.
class TransferTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void freshFileIsProbedAndFetched()
    {
        serve(generated(5000));
        DownloadEvents events(manager(), resumable());
        QVERIFY(events.waitForFinished());
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QCOMPARE(events.list(), resumableEvents(5000, path()));
        QCOMPARE(events.currentSizes().last(), 5000);
        QVERIFY(range().isNull());
        QCOMPARE(content(), generated(5000));
        QCOMPARE(log().lines(), QStringList());
    }

    void completeFileNeedsNoGet()
    {
        serve("content");
        QVERIFY(put("CONTENT"));
        DownloadEvents events(manager(), resumable());
        QVERIFY(events.waitForFinished());
        QCOMPARE(asked(), "HEAD /a"_s);
        QCOMPARE(events.list(),
                 QStringList({"Header"_s, "size 7"_s, "Finished"_s, "finished "_s + path()}));
        QCOMPARE(events.currentSizes(), QList<qint64>());
        QCOMPARE(content(), QByteArray("CONTENT"));
    }

    void partialFileIsResumed()
    {
        serve(generated(5000));
        QVERIFY(put(generated(1000)));
        DownloadEvents events(manager(), resumable());
        QVERIFY(events.waitForFinished());
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QCOMPARE(range(), QByteArray("bytes=1000-"));
        QVERIFY(!server().last("HEAD", "/a"_s).hasHeader("Range"));
        QCOMPARE(events.list(), resumableEvents(5000, path()));
        const QList<qint64> sizes = events.currentSizes();
        QVERIFY(std::is_sorted(sizes.cbegin(), sizes.cend()));
        QVERIFY(sizes.first() >= 1000);
        QCOMPARE(sizes.last(), 5000);
        QCOMPARE(content(), generated(5000));
    }

    void burstIsAnnouncedAtOnce_data() { Rows<int>().row("fresh", 0).row("resumed", 1000); }
    /// The network layer limits how often it reports progress. Bytes that arrive before a pause
    /// must be announced nevertheless.
    void burstIsAnnouncedAtOnce()
    {
        const auto [part] = Rows<int>::current();
        constexpr int Burst = 2000000;
        server().serveGenerated("/a"_s, 3 * Burst).holdAfter = Burst;
        QVERIFY(part == 0 || put(generated(part)));
        const auto download = resumable();
        DownloadEvents events(manager(), download);
        QTRY_COMPARE(QFileInfo(path()).size(), Burst + part);
        QTRY_COMPARE(download->getCurrentSize(), Burst + part);
        QCOMPARE(events.currentSizes().last(), Burst + part);
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        QCOMPARE(events.currentSizes().last(), 3 * Burst);
    }

    void emptyPartIsResumedFromTheStart()
    {
        serve("content");
        QVERIFY(put(""));
        QCOMPARE(transfer(resumable()), resumableEvents(7, path()));
        QCOMPARE(range(), QByteArray("bytes=0-"));
        QCOMPARE(content(), QByteArray("content"));
    }

    void largerFileIsFetchedWhole()
    {
        serve("content");
        QVERIFY(put("something longer"));
        QCOMPARE(transfer(resumable()), resumableEvents(7, path()));
        QVERIFY(range().isNull());
        QCOMPARE(content(), QByteArray("content"));
    }

    void folderInTheWayIsLeftAlone()
    {
        serve("content");
        QVERIFY(QDir().mkpath(path()));
        const QStringList events = transfer(resumable());
        QCOMPARE(events.last(), QString("finished "_s + path()));
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QVERIFY(range().isNull());
        QVERIFY(QFileInfo(path()).isDir());
    }

    void restartDeletesAndFetches()
    {
        for (const char *before : {"", "conten", "CONTENT", "something longer"}) {
            serve("content");
            QVERIFY(put(before));
            DownloadEvents events(manager(), restart());
            QVERIFY(!exists());
            QVERIFY(events.waitForFinished());
            QCOMPARE(events.list(), restartEvents(7, path()));
            QVERIFY(range().isNull());
            QCOMPARE(content(), QByteArray("content"));
        }
        QCOMPARE(asked(), "GET /a, GET /a, GET /a, GET /a"_s);
    }

    void emptyBodyMakesAnEmptyFile()
    {
        serve("");
        for (const auto &download : {resumable(), restart()}) {
            QVERIFY(!exists() || QFile::remove(path()));
            QVERIFY(transfer(download).last().startsWith("finished "_s));
            QCOMPARE(content(), QByteArray(""));
            QVERIFY(exists());
        }
        QCOMPARE(log().lines(), QStringList());
    }

    void probeWithoutLengthOrDateAppends_data()
    {
        Rows<bool, bool>()
            .row("no length", true, false)
            .row("no date", false, true)
            .row("neither", true, true);
    }

    void probeWithoutLengthOrDateAppends()
    {
        const auto [withoutLength, withoutDate] = Rows<bool, bool>::current();
        serve("content").headWithoutLength = withoutLength;
        resource().headWithoutDate = withoutDate;
        QVERIFY(put("abc"));
        DownloadEvents events(manager(), resumable());
        QVERIFY(events.waitForFinished());
        QVERIFY(range().isNull());
        QCOMPARE(content(), QByteArray("abccontent"));
        // The size comes from the answer with the body.
        QCOMPARE(events.list(), QStringList({"Header"_s, "Download"_s, "size 7"_s, "Finished"_s,
                                             "finished "_s + path()}));
        QCOMPARE(events.currentSizes().last(), 10);
    }

    /// A transfer can be resumed only if the server does not compress the body.
    void onlyRestartsAreCompressed()
    {
        const QByteArray body(100000, 'x');
        serve(body).compresses = true;
        transfer(resumable());
        for (const HttpRequest &request : server().requests())
            QCOMPARE(request.header("Accept-Encoding"), QByteArray("identity"));
        QCOMPARE(content(), body);
        transfer(restart());
        QVERIFY(lastGet().header("Accept-Encoding").contains("gzip"));
        QCOMPARE(content(), body);
    }

    void answersCompressedUnaskedAreWrittenPlain_data()
    {
        Rows<int>().row("fresh", 0).row("with a part", 1000);
    }

    void answersCompressedUnaskedAreWrittenPlain()
    {
        const auto [part] = Rows<int>::current();
        const QByteArray body = generated(3000000);
        serve(body).compressesUnasked = true;
        QVERIFY(part == 0 || put(body.left(part)));
        QCOMPARE(transfer(resumable()), resumableEvents(body.size(), path()));
        QVERIFY(content() == body);
        QVERIFY(range().isNull());
        QCOMPARE(log().lines(), QStringList());
    }

    void bodyOfUnknownLengthIsWritten_data()
    {
        Rows<bool>().row("chunks", true).row("until the end of the connection", false);
    }

    void bodyOfUnknownLengthIsWritten()
    {
        const auto [chunked] = Rows<bool>::current();
        serve(generated(300000)).chunked = chunked;
        resource().getWithoutLength = !chunked;
        const QStringList events = transfer(restart());
        QCOMPARE(content(), generated(300000));
        QVERIFY(!events.contains(errorEvent()));
        QCOMPARE(events.last(), QString("finished "_s + path()));
    }

    void redirectsAreFollowed_data()
    {
        Rows<bool>().row("same host", false).row("other host", true);
    }

    void redirectsAreFollowed()
    {
        const auto [otherHost] = Rows<bool>::current();
        serve(generated(5000), "/real"_s);
        serve("").redirect = otherHost ? server().otherHostUrl("/real"_s).toLatin1() : "/real";
        QVERIFY(put(generated(1000)));
        QCOMPARE(transfer(resumable()), resumableEvents(5000, path()));
        // Qt sometimes repeats a request that was answered with a redirect.
        QStringList requests = server().log();
        requests.removeDuplicates();
        QCOMPARE(requests, QStringList({"HEAD /a"_s, "HEAD /real"_s, "GET /a"_s, "GET /real"_s}));
        QCOMPARE(range("/real"_s), QByteArray("bytes=1000-"));
        QCOMPARE(content(), generated(5000));
    }

    /// Qt sometimes joins the headers of a redirect and those of the file.
    void lengthOfTheLastAnswerCounts()
    {
        serve(generated(5000)).headers = {{"Content-Length", "145"}};
        QVERIFY(put(generated(5000)));
        const auto download = resumable();
        QVERIFY(transfer(download).contains("size 5000"_s));
        QCOMPARE(download->getFileSize(), 5000);
        QCOMPARE(asked(), "HEAD /a"_s);
    }

    void phasesWaitForTheServer()
    {
        serve(generated(5000)).holdsHead = true;
        const auto download = resumable();
        DownloadEvents events(manager(), download);
        QVERIFY(server().waitForRequests(1));
        QCOMPARE(download->getProcess(), Download::Process::Header);
        server().release("/a"_s);
        resource().holdAfter = 1234;
        QVERIFY(server().waitForRequests(2));
        // Received bytes are written immediately.
        QTRY_COMPARE(QFileInfo(path()).size(), 1234);
        QCOMPARE(download->getProcess(), Download::Process::Download);
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        QCOMPARE(content(), generated(5000));
    }

    void completeFileBeyondFourGibibytes()
    {
        server().serveGenerated("/a"_s, 5 * Gibibyte);
        QVERIFY(makeSparse(5 * Gibibyte));
        QVERIFY(transfer(resumable()).contains("size 5368709120"_s));
        QCOMPARE(asked(), "HEAD /a"_s);
    }

    void partBeyondFourGibibytesIsResumed()
    {
        constexpr qint64 Part = 4 * Gibibyte + 7;
        server().serveGenerated("/a"_s, Part + 1000);
        QVERIFY(makeSparse(Part));
        DownloadEvents events(manager(), resumable());
        QVERIFY(events.waitForFinished());
        QCOMPARE(range(), QByteArray("bytes=4294967303-"));
        QCOMPARE(events.currentSizes().last(), Part + 1000);
        QFile file(path());
        QVERIFY(file.open(QIODevice::ReadOnly) && file.seek(Part));
        QCOMPARE(file.readAll(), HttpResource::generated(Part, 1000));
    }

    void largeBodyArrivesByteForByte()
    {
        constexpr int Size = 30 * 1024 * 1024 + 11;
        server().serveGenerated("/a"_s, Size);
        DownloadEvents events(manager(), resumable());
        QVERIFY(events.waitForFinished(60000));
        QVERIFY(content() == generated(Size));
        const QList<qint64> sizes = events.currentSizes();
        QVERIFY(std::is_sorted(sizes.cbegin(), sizes.cend()));
        QCOMPARE(sizes.last(), Size);
    }

    void interruptedTransferGoesOnInTheNextRun()
    {
        serve(generated(100000)).holdAfter = 40000;
        manager().add(resumable(), false);
        QTRY_COMPARE(QFileInfo(path()).size(), 40000);
        setup().endManager();
        resource().holdAfter.reset();
        setup().restartManager();
        QCOMPARE(transfer(resumable()), resumableEvents(100000, path()));
        QCOMPARE(range(), QByteArray("bytes=40000-"));
        QCOMPARE(content(), generated(100000));
    }

    void nginxResumes()
    {
        if (!Nginx::isAvailable())
            QSKIP("there is no nginx here");
        const Nginx nginx;
        QVERIFY(nginx.isRunning());
        const QByteArray body = generated(3000000);
        QVERIFY(writeFile(nginx.folder() + "an archive.7z"_s, body));
        QVERIFY(put(body.left(1234567), "an archive.7z"_s));
        for (int run = 0; run < 2; ++run) {
            // The second run finds the complete file.
            const auto download = DownloadSetup::resumable(nginx.url("/an archive.7z"_s));
            DownloadEvents events(manager(), download);
            QVERIFY(events.waitForFinished());
            QCOMPARE(events.currentSizes().isEmpty(), run == 1);
            QCOMPARE(download->getFileSize(), body.size());
            QVERIFY(content("an archive.7z"_s) == body);
        }
        QCOMPARE(log().lines(), QStringList());
    }

private:
    bool makeSparse(qint64 size) const
    {
        QFile file(path());
        return file.open(QIODevice::WriteOnly) && file.resize(size);
    }
};

KAVO_TEST_MAIN(TransferTest)
#include "TransferTest.moc"
