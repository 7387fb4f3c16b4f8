#include "tests/downloads/DownloadFixture.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <sys/stat.h>

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Tests transfers with faults of servers, connections and disks. A transfer always ends, an error
/// is announced before the end, and the next attempt resumes the part that has arrived.
class TransferFaultsTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void failedProbeIsFollowedByTheGet_data()
    {
        Rows<int> rows;
        for (const int status :
             {HttpStatus::UNAUTHORIZED, HttpStatus::FORBIDDEN, HttpStatus::NOT_FOUND,
              HttpStatus::METHOD_NOT_ALLOWED, HttpStatus::INTERNAL_SERVER_ERROR,
              HttpStatus::SERVICE_UNAVAILABLE})
            rows.row(QByteArray::number(status), status);
    }

    void failedProbeIsFollowedByTheGet()
    {
        const auto [status] = Rows<int>::current();
        serve("content").headStatus = status;
        QCOMPARE(transfer(resumable()),
                 QStringList({"Header"_s, errorEvent(), "Download"_s, "size 7"_s, "Finished"_s,
                              "finished "_s + path()}));
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QCOMPARE(content(), QByteArray("content"));

        const QString network = "Network Error : "_s;
        QCOMPARE(log().lines().size(), 2);
        QVERIFY(log().lines().first().startsWith(network));
        QCOMPARE(log().lines().last(),
                 "Header Error - %1 : %2"_s.arg(url(), log().lines().first().mid(network.size())));
    }

    void failedProbeLeavesThePart()
    {
        serve("content").headStatus = HttpStatus::INTERNAL_SERVER_ERROR;
        QVERIFY(put("abc"));
        transfer(resumable());
        QVERIFY(range().isNull());
        QCOMPARE(content(), QByteArray("abccontent"));
    }

    /// The answer to the probe has the length and the date of an error page, which is shorter than
    /// the part.
    void lengthOfAnErrorPageIsIgnored()
    {
        serve("a page").getStatus = HttpStatus::FORBIDDEN;
        QVERIFY(put("a part of the archive"));
        transfer(resumable());
        QVERIFY(range().isNull());
        QCOMPARE(content(), QByteArray("a part of the archive"));
    }

    void failedGetStillFinishes_data()
    {
        Rows<int> rows;
        for (const int status :
             {HttpStatus::BAD_REQUEST, HttpStatus::FORBIDDEN, HttpStatus::NOT_FOUND,
              HttpStatus::GONE, HttpStatus::INTERNAL_SERVER_ERROR, HttpStatus::SERVICE_UNAVAILABLE})
            rows.row(QByteArray::number(status), status);
    }

    // Fixed, see docs/compatibility.md.
    void failedGetStillFinishes()
    {
        const auto [status] = Rows<int>::current();
        serve("a page").getStatus = status;
        QStringList events = transfer(restart());
        QCOMPARE(events.count(errorEvent()), 1);
        QVERIFY(events.indexOf(errorEvent()) < events.indexOf("Finished"_s));
        QCOMPARE(events.last(), QString("finished "_s + path()));
        QVERIFY(manager().find(url()).isNull());
        QCOMPARE(log().count("Network Error : "_s), 1);
        QCOMPARE(log().count("Download Error - "_s + url() + " : "_s), 1);
        // The page is not written, and the missing bytes are not logged as a wrong size.
        QVERIFY(!exists());
        QCOMPARE(log().count("Size Error : "_s), 0);
    }

    void bodyOfAnErrorIsNotWritten_data()
    {
        Rows<int, bool, bool> rows;
        for (const int status :
             {HttpStatus::BAD_REQUEST, HttpStatus::UNAUTHORIZED, HttpStatus::FORBIDDEN,
              HttpStatus::NOT_FOUND, HttpStatus::INTERNAL_SERVER_ERROR,
              HttpStatus::SERVICE_UNAVAILABLE}) {
            const QByteArray name = QByteArray::number(status);
            rows.row(name, status, false, false);
            rows.row(name + ", in chunks", status, true, false);
            rows.row(name + ", cut", status, false, true);
        }
    }

    /// The next attempt resumes the part, so the part must not contain an error page.
    void bodyOfAnErrorIsNotWritten()
    {
        const auto row = Rows<int, bool, bool>::current();
        const QByteArray body = generated(500000);
        serve(body);
        QVERIFY(put(body.left(1000)));
        const auto download = resumable();
        when(download, Download::Process::Download, [row](HttpResource &file) {
            const auto [status, chunked, cut] = row;
            file.getStatus = status;
            file.chunked = chunked;
            if (cut)
                file.cutAfter = 200000;
        });
        QCOMPARE(transfer(download), withError(resumableEvents(500000, path())));
        QVERIFY(content() == body.left(1000));
        // Bytes that are dropped on purpose are not logged as a disk error.
        QCOMPARE(log().count("Write Error : "_s), 0);

        serve(body);
        QCOMPARE(transfer(resumable()), resumableEvents(500000, path()));
        QCOMPARE(range(), QByteArray("bytes=1000-"));
        QVERIFY(content() == body);
    }

    void compressedErrorLeavesThePart_data()
    {
        Rows<bool>().row("probe and transfer fail", true).row("only the transfer fails", false);
    }

    void compressedErrorLeavesThePart()
    {
        const auto [probeFails] = Rows<bool>::current();
        serve(generated(5000)).compressesUnasked = true;
        QVERIFY(put(generated(1000)));
        const auto download = resumable();
        when(download, probeFails ? Download::Process::Header : Download::Process::Download,
             [](HttpResource &file) { file.getStatus = HttpStatus::SERVICE_UNAVAILABLE; });
        QVERIFY(transfer(download).contains(errorEvent()));
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QCOMPARE(content(), generated(1000));
    }

    void unreachableAddressesFail_data()
    {
        Rows<QString>()
            .row("refused", TestHttpServer::refusingUrl("/a"_s))
            .row("host", "http://nowhere.invalid/a")
            .row("scheme", "nothing://host/a")
            .row("relative", "a/b")
            .row("empty", "");
    }

    void unreachableAddressesFail()
    {
        const auto [address] = Rows<QString>::current();
        QStringList events = transfer(DownloadSetup::resumable(address));
        QVERIFY(events.takeLast().startsWith("finished "_s));
        QCOMPARE(events.count(errorEvent()), 2);
        events.removeAll(errorEvent());
        QCOMPARE(events.join(", "_s), "Header, Download, size 0, Finished"_s);
        QCOMPARE(log().count("Header Error - "_s + address), 1);
        QCOMPARE(log().count("Download Error - "_s + address), 1);
        QVERIFY(manager().find(address).isNull());
    }

    void interruptedBodyIsResumed_data()
    {
        Rows<bool, bool>()
            .row("cut", false, false)
            .row("reset", true, false)
            .row("cut between chunks", false, true)
            .row("reset between chunks", true, true);
    }

    void interruptedBodyIsResumed()
    {
        const auto [resets, chunked] = Rows<bool, bool>::current();
        HttpResource &file = serve(generated(500000));
        file.chunked = chunked;
        (resets ? file.resetAfter : file.cutAfter) = 200000;
        QStringList events = transfer(resumable());
        QVERIFY(events.contains(errorEvent()));
        QVERIFY(events.indexOf(errorEvent()) < events.indexOf("Finished"_s));
        // Qt does not report all of these ends as errors. The program detects the others itself.
        events.removeAll(errorEvent());
        QCOMPARE(events, resumableEvents(500000, path()));
        // A reset may discard bytes in transit. The file is then a shorter beginning of the body.
        const QByteArray part = content();
        QVERIFY(part == generated(part.size()));
        QVERIFY(resets ? part.size() <= 200000 : part.size() == 200000);
        QVERIFY(log().contains(sizeLine(part.size(), 500000)));

        resource().cutAfter.reset();
        resource().resetAfter.reset();
        QCOMPARE(transfer(resumable()), resumableEvents(500000, path()));
        QCOMPARE(range(), QByteArray("bytes=" + QByteArray::number(part.size()) + '-'));
        QVERIFY(content() == generated(500000));
    }

    void cutIsAlwaysNoticed_data()
    {
        Rows<bool, bool>()
            .row("body with a length", false, false)
            .row("body with a length, without a probe", false, true)
            .row("body in chunks", true, false);
    }

    /// The program may receive the last bytes and the end of the connection together or one after
    /// the other, so many sizes are tried.
    void cutIsAlwaysNoticed()
    {
        const auto [chunked, restarts] = Rows<bool, bool>::current();
        HttpResource &file = server().serveGenerated("/a"_s, 300000);
        file.chunked = chunked;
        for (int size = 0; size < 100000; size += 1000) {
            file.cutAfter = size;
            QFile::remove(path());
            const QStringList events = transfer(restarts ? restart() : resumable());
            QVERIFY2(events.contains(errorEvent()), qPrintable("cut after %1"_s.arg(size)));
            QCOMPARE(content().size(), size);
        }
    }

    /// Without a length in the answer, the end of the connection looks like the end of the body.
    void silentlyShortBodyIsLogged()
    {
        HttpResource &file = serve(generated(5000));
        file.getWithoutLength = true;
        file.cutAfter = 2000;
        QCOMPARE(transfer(resumable()), resumableEvents(5000, path()));
        QVERIFY(log().contains(sizeLine(2000, 5000)));
    }

    void tooLargeFileIsAborted_data() { lengthOrChunks(); }
    void tooLargeFileIsAborted()
    {
        const auto [chunked] = Rows<bool>::current();
        server().serveGenerated("/a"_s, 300000).chunked = chunked;
        const Pointer download = restart();
        download->setLargestSize(299999);
        QCOMPARE(transfer(download).count(errorEvent()), 1);
        QVERIFY(!exists());
        const Pointer next = restart();
        next->setLargestSize(300000);
        QCOMPARE(transfer(next).count(errorEvent()), 0);
        QCOMPARE(content().size(), 300000);
    }

    void redirectLoopEnds()
    {
        serve("").redirect = "/a";
        const QStringList events = transfer(resumable());
        QCOMPARE(events.count(errorEvent()), 2);
        QVERIFY(events.last().startsWith("finished "_s));
    }

    void rangeIgnoredByTheServer_data() { lengthOrChunks(); }
    void rangeIgnoredByTheServer()
    {
        const auto [chunked] = Rows<bool>::current();
        const QByteArray body = generated(3000000);
        serve(body).ignoresRange = true;
        resource().chunked = chunked;
        QVERIFY(put(body.left(1000)));
        QCOMPARE(transfer(resumable()), resumableEvents(3000000, path()));
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QCOMPARE(range(), QByteArray("bytes=1000-"));
        QVERIFY(content() == body);
        QCOMPARE(log().lines(), QStringList());
    }

    void rangeAtAnotherPlace_data()
    {
        Rows<int, bool>()
            .row("later", 500, false)
            .row("earlier", -500, false)
            .row("at the beginning", -1000, false)
            .row("right, without saying so", 0, true)
            .row("later, without saying so", 500, true);
    }

    /// Bytes from another place, or from an unknown one, are useless, so the whole file is
    /// requested.
    void rangeAtAnotherPlace()
    {
        const auto [displacement, hidden] = Rows<int, bool>::current();
        serve(generated(5000)).rangeDisplacement = displacement;
        resource().hidesContentRange = hidden;
        QVERIFY(put(generated(1000)));
        QCOMPARE(transfer(resumable()), resumableEvents(5000, path()));
        QCOMPARE(asked(), "HEAD /a, GET /a, GET /a"_s);
        QVERIFY(range().isNull());
        QCOMPARE(content(), generated(5000));
        QCOMPARE(log().lines(), QStringList());
    }

    void rangeRefused()
    {
        serve(generated(5000)).refusesRange = true;
        QVERIFY(put(generated(1000)));
        const QStringList events = transfer(resumable());
        QCOMPARE(events.count(errorEvent()), 1);
        QVERIFY(events.last().startsWith("finished "_s));
        // The part is removed, because the server would refuse its range again.
        QVERIFY(!exists());

        QCOMPARE(transfer(resumable()), resumableEvents(5000, path()));
        QVERIFY(range().isNull());
        QCOMPARE(content(), generated(5000));
    }

    void lengthOfTheProbeIsWrong_data()
    {
        Rows<qint64>().row("too long", 9000).row("too short", 3000);
    }

    void lengthOfTheProbeIsWrong()
    {
        const auto [announced] = Rows<qint64>::current();
        serve(generated(5000)).headLength = announced;
        QCOMPARE(transfer(resumable()), resumableEvents(announced, path()));
        QCOMPARE(content(), generated(5000));
        QVERIFY(log().contains(sizeLine(5000, announced)));
    }

    void bodyChangesAfterTheProbe()
    {
        serve("old").laterBody = "a newer one";
        QCOMPARE(transfer(resumable()), resumableEvents(3, path()));
        QCOMPARE(content(), QByteArray("a newer one"));
        // The probe of the next attempt gets the new size, so there is nothing to fetch.
        transfer(resumable());
        QCOMPARE(asked(), "HEAD /a, GET /a, HEAD /a"_s);
    }

    void unwritableFileIsAnError_data()
    {
        Rows<bool>().row("resumable", false).row("restart", true);
    }

    void unwritableFileIsAnError()
    {
        const auto [restarts] = Rows<bool>::current();
        // Far more than the network layer buffers.
        constexpr qint64 Size = Q_INT64_C(8) * 1024 * 1024;
        server().serveGenerated("/a"_s, Size);
        QVERIFY(put("in the way", "file"_s));
        const auto download = restarts ? restart() : resumable();
        const QString place = path("file/a"_s);
        download->setPath(place);
        QCOMPARE(transfer(download),
                 withError(restarts ? restartEvents(Size, place) : resumableEvents(Size, place)));
        QCOMPARE(content("file"_s), QByteArray("in the way"));
        QVERIFY(manager().find(url()).isNull());
        QCOMPARE(log().lines().mid(0, 2), lossLines(place, Size));
    }

    void specialFilesAreReplaced_data()
    {
        Rows<QString, QByteArray> rows;
        for (const char *kind : {"pipe", "socket", "link to a pipe", "link to an endless device"})
            rows.row(kind, kind, "content").row(kind + QByteArray(", empty body"), kind, "");
    }

    /// A special file in the place of the download would make every further attempt fail.
    void specialFilesAreReplaced()
    {
        const auto [kind, body] = Rows<QString, QByteArray>::current();
        serve(body);
        QVERIFY(takePlace(kind));
        QCOMPARE(transfer(resumable()).contains(errorEvent()), !body.isEmpty());
        // Only a regular file may be unpacked.
        QVERIFY(!exists() && !QFileInfo(path()).isSymLink());
        QVERIFY(!transfer(resumable()).contains(errorEvent()));
        QCOMPARE(content(), body);

        // A download that starts over, such as a picture, removes the special file first.
        QFile::remove(path());
        QVERIFY(takePlace(kind));
        QVERIFY(!transfer(restart()).contains(errorEvent()));
        QCOMPARE(content(), body);
    }

    void folderThatAppearsTooLateStaysEmpty()
    {
        serve(generated(5000)).holdAfter = 1000;
        const auto download = resumable();
        const QString place = path("folder/a"_s);
        download->setPath(place);
        DownloadEvents events(manager(), download);
        QTRY_VERIFY(!events.currentSizes().isEmpty());
        QVERIFY(QDir().mkpath(path("folder"_s)));
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        QCOMPARE(events.list(), withError(resumableEvents(5000, place)));
        QVERIFY(!QFile::exists(place));
        QCOMPARE(log().lines().mid(0, 2), lossLines(place, 5000));
    }

    void emptyBodyNeedsNoFile()
    {
        serve("");
        QVERIFY(put("in the way", "file"_s));
        const auto download = restart();
        download->setPath(path("file/a"_s));
        QVERIFY(!transfer(download).contains(errorEvent()));
    }

    void fullDiskIsAnError_data() { lengthOrChunks(); }
    /// Every write to /dev/full fails as on a full disk.
    void fullDiskIsAnError()
    {
        const auto [chunked] = Rows<bool>::current();
        constexpr qint64 Size = Q_INT64_C(3) * 1024 * 1024;
        server().serveGenerated("/a"_s, Size).chunked = chunked;
        QVERIFY(QFile::link("/dev/full"_s, path()));
        QCOMPARE(transfer(resumable()), withError(resumableEvents(Size, path())));
        // Only the last lines count, because Qt logs a warning when it opens a device to append.
        const QStringList lines = log().lines();
        QCOMPARE(lines.mid(lines.size() - 3),
                 lossLines(path(), Size) + QStringList(sizeLine(0, Size)));
        QCOMPARE(log().count("Network Error : "_s), 0);
    }

    void fullDiskKeepsWhatArrived()
    {
        constexpr int Size = 500000;
        constexpr int Room = 100000;
        serve(generated(Size)).holdAfter = 200000;
        std::unique_ptr<DownloadEvents> events;
        {
            const FullDisk disk(Room);
            events = std::make_unique<DownloadEvents>(manager(), resumable());
            // The disk becomes full in the middle of a write, so some bytes are lost.
            QTRY_COMPARE(QFileInfo(path()).size(), Room);
        }
        // Now there is space again, but further bytes must be dropped, as they would follow a gap.
        server().release("/a"_s);
        QVERIFY(events->waitForFinished());
        QCOMPARE(events->list(), withError(resumableEvents(Size, path())));
        QVERIFY(content() == generated(Room));
        QCOMPARE(log().lines().mid(0, 2), lossLines(path(), Size - Room));

        QCOMPARE(transfer(resumable()), resumableEvents(Size, path()));
        QCOMPARE(range(), QByteArray("bytes=100000-"));
        QVERIFY(content() == generated(Size));
    }

    void lossAndErrorAreReportedOnce()
    {
        serve("content").cutAfter = 6;
        QVERIFY(QFile::link("/dev/full"_s, path()));
        QCOMPARE(transfer(resumable()).count(errorEvent()), 1);
        QCOMPARE(log().count("Network Error : "_s), 1);
        QVERIFY(log().contains(lossLines(path(), 6).first()));
    }

    void missingCacheFolderIsMade()
    {
        serve("content");
        QVERIFY(QDir(setup().profile().cacheFolder()).removeRecursively());
        QCOMPARE(transfer(restart()).last(), QString("finished "_s + path()));
    }

private:
    static void lengthOrChunks()
    {
        Rows<bool>().row("with a length", false).row("in chunks", true);
    }
    /// Changes the file of the server when the download reaches this phase.
    void when(const Pointer &download, Download::Process phase,
              const std::function<void(HttpResource &)> &change)
    {
        connect(download.data(), &Download::processChanged, this, [=](Download::Process process) {
            if (process == phase)
                change(resource());
        });
    }
    /// The expected log lines about bytes that could not be written.
    QStringList lossLines(const QString &path, qint64 bytes) const
    {
        const QString loss = "%1 bytes were not written"_s.arg(bytes);
        return {"Write Error : %1 : %2"_s.arg(path, loss),
                "Download Error - %1 : %2"_s.arg(url(), loss)};
    }
    QString sizeLine(qint64 found, qint64 announced) const
    {
        return "Size Error : %1 : %2 of %3 bytes"_s.arg(path()).arg(found).arg(announced);
    }
    /// Creates a special file in the place of the download.
    bool takePlace(const QString &kind) const
    {
        const QByteArray place = QFile::encodeName(path());
        const QByteArray pipe = QFile::encodeName(path("pipe"_s));
        if (kind == "pipe"_s)
            return ::mkfifo(place.constData(), 0600) == 0;
        if (kind == "socket"_s)
            return ::mknod(place.constData(), S_IFSOCK | 0600, 0) == 0;
        if (kind == "link to an endless device"_s)
            return QFile::link("/dev/zero"_s, path());
        return (exists("pipe"_s) || ::mkfifo(pipe.constData(), 0600) == 0) &&
               QFile::link(path("pipe"_s), path());
    }
};

KAVO_TEST_MAIN(TransferFaultsTest)
#include "TransferFaultsTest.moc"
