#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>

#include <sys/stat.h>

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

/// The events of a transfer with an error before its end.
QStringList withError(QStringList events)
{
    events.insert(events.indexOf(QStringLiteral("process 3")),
                  QStringLiteral("error Server Error"));
    return events;
}

} // namespace

/// Servers, connections and disks that let a transfer down. It always ends, errors come before the
/// end, and the next attempt makes the best of what is there.
class TransferFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void failedProbeIsFollowedByTheGet_data();
    void failedProbeIsFollowedByTheGet();
    void failedProbeLeavesThePart();
    void lengthOfAnErrorPageIsNotThatOfTheFile();
    void failedGetStillFinishes_data();
    void failedGetStillFinishes();
    void bodyOfAnErrorIsNotWritten_data();
    void bodyOfAnErrorIsNotWritten();
    void lengthOfAnErrorPageIsNotMissed();
    void compressedErrorLeavesThePart_data();
    void compressedErrorLeavesThePart();
    void refusedConnection();
    void unknownHostAndBadAddress_data();
    void unknownHostAndBadAddress();
    void interruptedBodyIsResumed_data();
    void interruptedBodyIsResumed();
    void cutIsAlwaysNoticed_data();
    void cutIsAlwaysNoticed();
    void silentlyShortBodyIsLogged();
    void redirectLoopEnds();

    void rangeIgnoredByTheServer_data();
    void rangeIgnoredByTheServer();
    void rangeAtAnotherPlace_data();
    void rangeAtAnotherPlace();
    void rangeRefused();
    void lengthOfTheProbeIsWrong_data();
    void lengthOfTheProbeIsWrong();
    void bodyChangesAfterTheProbe();

    void unwritableFileIsAnError_data();
    void unwritableFileIsAnError();
    void whatIsNoFileHoldsNobodyUp_data();
    void whatIsNoFileHoldsNobodyUp();
    void placeThatComesTooLateStaysEmpty();
    void emptyBodyNeedsNoFile();
    void fullDiskIsAnError_data();
    void fullDiskIsAnError();
    void fullDiskKeepsWhatArrived();
    void lossAndErrorAreToldOnce();
    void cacheFolderThatVanished();

private:
    QString url(const char *path) const { return m_setup->server().url(QString::fromLatin1(path)); }
    TestHttpServer &server() const { return m_setup->server(); }
    QString path(const char *name) const { return m_setup->path(QString::fromLatin1(name)); }
    QByteArray content(const char *name) const
    {
        return m_setup->content(QString::fromLatin1(name));
    }
    /// What the log says of bytes of "/a" that could not be written.
    QStringList lossLines(const QString &path, qint64 bytes) const
    {
        const QString loss = QStringLiteral("%1 bytes were not written").arg(bytes);
        return {QStringLiteral("Write Error : %1 : %2").arg(path, loss),
                QStringLiteral("Download Error - %1 : %2").arg(url("/a"), loss)};
    }
    /// Adds the download and waits for its end. Returns the events.
    QStringList transfer(const DownloadSetup::Pointer &download) const;

    QScopedPointer<DownloadSetup> m_setup;
};

void TransferFaultsTest::init()
{
    m_setup.reset(new DownloadSetup);
}

void TransferFaultsTest::cleanup()
{
    m_setup.reset();
}

QStringList TransferFaultsTest::transfer(const DownloadSetup::Pointer &download) const
{
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    return events.waitForFinished() ? events.list() : QStringList(QStringLiteral("no end"));
}

void TransferFaultsTest::failedProbeIsFollowedByTheGet_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {401, 403, 404, 405, 500, 503})
        QTest::addRow("%d", status) << status;
}

void TransferFaultsTest::failedProbeIsFollowedByTheGet()
{
    QFETCH(int, status);
    server().serve(QStringLiteral("/a"), "content").headStatus = status;
    const auto download = DownloadSetup::resumable(url("/a"));
    const QStringList events = transfer(download);
    QCOMPARE(events,
             QStringList({QStringLiteral("process 1"), QStringLiteral("error Server Error"),
                          QStringLiteral("process 2"), QStringLiteral("fileSize 7"),
                          QStringLiteral("process 3"), QStringLiteral("finished ") + path("a")}));
    QCOMPARE(server().log(), QStringList({QStringLiteral("HEAD /a"), QStringLiteral("GET /a")}));
    QCOMPARE(content("a"), QByteArray("content"));

    const QStringList log = m_setup->log().lines();
    QCOMPARE(log.size(), 2);
    QVERIFY(log.first().startsWith(QStringLiteral("Network Error : ")));
    const QString detail = log.first().mid(int(qstrlen("Network Error : ")));
    QCOMPARE(log.last(), QStringLiteral("Header Error - %1 : %2").arg(url("/a"), detail));
}

void TransferFaultsTest::failedProbeLeavesThePart()
{
    server().serve(QStringLiteral("/a"), "content").headStatus = 500;
    QVERIFY(m_setup->put(QStringLiteral("a"), "abc"));
    transfer(DownloadSetup::resumable(url("/a")));
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(content("a"), QByteArray("abccontent"));
}

void TransferFaultsTest::lengthOfAnErrorPageIsNotThatOfTheFile()
{
    // The probe is answered with length and date of a page that is shorter than the part.
    server().serve(QStringLiteral("/a"), "a page").getStatus = 403;
    QVERIFY(m_setup->put(QStringLiteral("a"), "a part of the archive"));
    transfer(DownloadSetup::resumable(url("/a")));
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(content("a"), QByteArray("a part of the archive"));
}

void TransferFaultsTest::failedGetStillFinishes_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {400, 403, 404, 410, 500, 503})
        QTest::addRow("%d", status) << status;
}

// Fixed, see docs/compatibility.md.
void TransferFaultsTest::failedGetStillFinishes()
{
    QFETCH(int, status);
    server().serve(QStringLiteral("/a"), "a page").getStatus = status;
    const auto download = DownloadSetup::restart(url("/a"));
    const QStringList events = transfer(download);
    QCOMPARE(events.filter(QStringLiteral("error")),
             QStringList(QStringLiteral("error Server Error")));
    QVERIFY(events.indexOf(QStringLiteral("error Server Error")) <
            events.indexOf(QStringLiteral("process 3")));
    QCOMPARE(events.last(), QString(QStringLiteral("finished ") + path("a")));
    QVERIFY(m_setup->manager().find(url("/a")).isNull());
    QCOMPARE(m_setup->log().count(QStringLiteral("Network Error : ")), 1);
    QCOMPARE(m_setup->log().count(QStringLiteral("Download Error - ") + url("/a") +
                                  QStringLiteral(" : ")),
             1);
}

void TransferFaultsTest::bodyOfAnErrorIsNotWritten_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("chunked");
    QTest::addColumn<bool>("cut");
    for (const int status : {400, 401, 403, 404, 500, 503}) {
        QTest::addRow("%d", status) << status << false << false;
        QTest::addRow("%d, in chunks", status) << status << true << false;
        QTest::addRow("%d, cut", status) << status << false << true;
    }
}

/// The next try goes on behind what is there, which must be of the file.
void TransferFaultsTest::bodyOfAnErrorIsNotWritten()
{
    QFETCH(int, status);
    QFETCH(bool, chunked);
    QFETCH(bool, cut);
    const QByteArray body = HttpResource::generated(0, 500000);
    HttpResource &resource = server().serve(QStringLiteral("/a"), body);
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    const auto download = DownloadSetup::resumable(url("/a"));
    connect(download.data(), &Download::processChanged, this, [&](Download::Process process) {
        if (process != Download::Process::Download)
            return;
        resource.getStatus = status;
        resource.chunked = chunked;
        if (cut)
            resource.cutAfter = 200000;
    });
    QCOMPARE(transfer(download), withError(resumableEvents(500000, path("a"))));
    QVERIFY(content("a") == body.left(1000));
    // What is missing was not lost by the disk.
    QCOMPARE(m_setup->log().count(QStringLiteral("Write Error : ")), 0);

    server().serve(QStringLiteral("/a"), body);
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(500000, path("a")));
    QCOMPARE(server().last("GET", QStringLiteral("/a")).header("Range"), QByteArray("bytes=1000-"));
    QVERIFY(content("a") == body);
}

void TransferFaultsTest::lengthOfAnErrorPageIsNotMissed()
{
    server().serve(QStringLiteral("/a"), "a page").getStatus = 404;
    transfer(DownloadSetup::restart(url("/a")));
    QVERIFY(!QFile::exists(path("a")));
    QCOMPARE(m_setup->log().count(QStringLiteral("Size Error : ")), 0);
}

void TransferFaultsTest::compressedErrorLeavesThePart_data()
{
    QTest::addColumn<bool>("probeFails");
    QTest::newRow("probe and transfer fail") << true;
    QTest::newRow("only the transfer fails") << false;
}

void TransferFaultsTest::compressedErrorLeavesThePart()
{
    QFETCH(bool, probeFails);
    const QByteArray body = HttpResource::generated(0, 5000);
    HttpResource &resource = server().serve(QStringLiteral("/a"), body);
    resource.compressesUnasked = true;
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    const auto download = DownloadSetup::resumable(url("/a"));
    const auto failing = probeFails ? Download::Process::Header : Download::Process::Download;
    connect(download.data(), &Download::processChanged, this, [&](Download::Process process) {
        if (process == failing)
            resource.getStatus = 503;
    });
    const QStringList events = transfer(download);
    QVERIFY(events.contains(QStringLiteral("error Server Error")));
    QCOMPARE(server().log(), QStringList({QStringLiteral("HEAD /a"), QStringLiteral("GET /a")}));
    QCOMPARE(content("a"), body.left(1000));
}

void TransferFaultsTest::refusedConnection()
{
    const QString address = server().refusingUrl(QStringLiteral("/a"));
    const QStringList events = transfer(DownloadSetup::resumable(address));
    QCOMPARE(events.filter(QStringLiteral("error")).size(), 2);
    QCOMPARE(events.filter(QStringLiteral("process")),
             QStringList({QStringLiteral("process 1"), QStringLiteral("process 2"),
                          QStringLiteral("process 3")}));
    QCOMPARE(m_setup->log().count(QStringLiteral("Header Error - ") + address), 1);
    QCOMPARE(m_setup->log().count(QStringLiteral("Download Error - ") + address), 1);
    QVERIFY(m_setup->manager().find(address).isNull());
}

void TransferFaultsTest::unknownHostAndBadAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("host") << QStringLiteral("http://nowhere.invalid/a");
    QTest::newRow("scheme") << QStringLiteral("nothing://host/a");
    QTest::newRow("relative") << QStringLiteral("a/b");
    QTest::newRow("empty") << QString();
}

void TransferFaultsTest::unknownHostAndBadAddress()
{
    QFETCH(QString, address);
    const QStringList events = transfer(DownloadSetup::resumable(address));
    QVERIFY(events.contains(QStringLiteral("error Server Error")));
    QVERIFY(events.last().startsWith(QStringLiteral("finished ")));
}

void TransferFaultsTest::interruptedBodyIsResumed_data()
{
    QTest::addColumn<bool>("resets");
    QTest::addColumn<bool>("chunked");
    QTest::newRow("cut") << false << false;
    QTest::newRow("reset") << true << false;
    QTest::newRow("cut between chunks") << false << true;
    QTest::newRow("reset between chunks") << true << true;
}

void TransferFaultsTest::interruptedBodyIsResumed()
{
    QFETCH(bool, resets);
    QFETCH(bool, chunked);
    HttpResource &resource = server().serveGenerated(QStringLiteral("/a"), 500000);
    resource.chunked = chunked;
    (resets ? resource.resetAfter : resource.cutAfter) = 200000;
    const QStringList events = transfer(DownloadSetup::resumable(url("/a")));
    // Qt reports most, but not all, of such ends as an error; the size tells in any case.
    QStringList withoutErrors = events;
    withoutErrors.removeAll(QStringLiteral("error Server Error"));
    QCOMPARE(withoutErrors, resumableEvents(500000, path("a")));
    QVERIFY(events.indexOf(QStringLiteral("error Server Error")) <
            events.indexOf(QStringLiteral("process 3")));
    // A reset may take back bytes that were on their way; whatever came is the beginning.
    const QByteArray part = content("a");
    QVERIFY(part == HttpResource::generated(0, part.size()));
    QVERIFY(resets ? part.size() <= 200000 : part.size() == 200000);
    const QString size = QString::number(part.size());
    QVERIFY(m_setup->log().contains(
        QStringLiteral("Size Error : %1 : %2 of 500000 bytes").arg(path("a"), size)));

    HttpResource &healthy = server().resource(QStringLiteral("/a"));
    healthy.cutAfter.reset();
    healthy.resetAfter.reset();
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(500000, path("a")));
    QCOMPARE(server().last("GET", QStringLiteral("/a")).header("Range"),
             QByteArray("bytes=" + size.toLatin1() + '-'));
    QVERIFY(content("a") == HttpResource::generated(0, 500000));
}

void TransferFaultsTest::cutIsAlwaysNoticed_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::addColumn<bool>("restarts");
    QTest::newRow("body with a length") << false << false;
    QTest::newRow("body with a length, without a probe") << false << true;
    QTest::newRow("body in chunks") << true << false;
}

/// The end of the connection and the last bytes may come together or one after the other.
void TransferFaultsTest::cutIsAlwaysNoticed()
{
    QFETCH(bool, chunked);
    QFETCH(bool, restarts);
    HttpResource &resource = server().serveGenerated(QStringLiteral("/a"), 300000);
    resource.chunked = chunked;
    for (int number = 0; number < 100; ++number) {
        resource.cutAfter = number * 1000;
        QFile::remove(path("a"));
        const auto download =
            restarts ? DownloadSetup::restart(url("/a")) : DownloadSetup::resumable(url("/a"));
        const QStringList events = transfer(download);
        QVERIFY2(events.contains(QStringLiteral("error Server Error")),
                 qPrintable(QStringLiteral("cut after %1: ").arg(number * 1000) +
                            events.join(QStringLiteral(", "))));
        QCOMPARE(content("a").size(), number * 1000);
    }
}

void TransferFaultsTest::silentlyShortBodyIsLogged()
{
    // Without a length in the answer, the end of the connection looks like the end of the body.
    HttpResource &resource = server().serveGenerated(QStringLiteral("/a"), 5000);
    resource.getWithoutLength = true;
    resource.cutAfter = 2000;
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(5000, path("a")));
    QVERIFY(m_setup->log().contains(
        QStringLiteral("Size Error : %1 : 2000 of 5000 bytes").arg(path("a"))));
}

void TransferFaultsTest::redirectLoopEnds()
{
    server().serve(QStringLiteral("/a"), "").redirect = "/a";
    const QStringList events = transfer(DownloadSetup::resumable(url("/a")));
    QCOMPARE(events.filter(QStringLiteral("error")).size(), 2);
    QVERIFY(events.last().startsWith(QStringLiteral("finished ")));
}

void TransferFaultsTest::rangeIgnoredByTheServer_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::newRow("with a length") << false;
    QTest::newRow("in chunks") << true;
}

void TransferFaultsTest::rangeIgnoredByTheServer()
{
    QFETCH(bool, chunked);
    const QByteArray body = HttpResource::generated(0, 3000000);
    HttpResource &resource = server().serve(QStringLiteral("/a"), body);
    resource.ignoresRange = true;
    resource.chunked = chunked;
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(3000000, path("a")));
    QCOMPARE(server().log(), QStringList({QStringLiteral("HEAD /a"), QStringLiteral("GET /a")}));
    QCOMPARE(server().last("GET", QStringLiteral("/a")).header("Range"), QByteArray("bytes=1000-"));
    QVERIFY(content("a") == body);
    QCOMPARE(m_setup->log().lines(), QStringList());
}

void TransferFaultsTest::rangeAtAnotherPlace_data()
{
    QTest::addColumn<int>("displacement");
    QTest::addColumn<bool>("hidden");
    QTest::newRow("later") << 500 << false;
    QTest::newRow("earlier") << -500 << false;
    QTest::newRow("at the beginning") << -1000 << false;
    QTest::newRow("right, without saying so") << 0 << true;
    QTest::newRow("later, without saying so") << 500 << true;
}

/// Such bytes can be put nowhere: the whole is asked for.
void TransferFaultsTest::rangeAtAnotherPlace()
{
    QFETCH(int, displacement);
    QFETCH(bool, hidden);
    const QByteArray body = HttpResource::generated(0, 5000);
    HttpResource &resource = server().serve(QStringLiteral("/a"), body);
    resource.rangeDisplacement = displacement;
    resource.hidesContentRange = hidden;
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(5000, path("a")));
    QCOMPARE(server().log(), QStringList({QStringLiteral("HEAD /a"), QStringLiteral("GET /a"),
                                          QStringLiteral("GET /a")}));
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(content("a"), body);
    QCOMPARE(m_setup->log().lines(), QStringList());
}

void TransferFaultsTest::rangeRefused()
{
    const QByteArray body = HttpResource::generated(0, 5000);
    server().serve(QStringLiteral("/a"), body).refusesRange = true;
    QVERIFY(m_setup->put(QStringLiteral("a"), body.left(1000)));
    const QStringList events = transfer(DownloadSetup::resumable(url("/a")));
    QCOMPARE(events.filter(QStringLiteral("error")).size(), 1);
    QVERIFY(events.last().startsWith(QStringLiteral("finished ")));
    // The server does not have these bytes, and would not have them the next time.
    QVERIFY(!QFile::exists(path("a")));

    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(5000, path("a")));
    QVERIFY(!server().last("GET", QStringLiteral("/a")).hasHeader("Range"));
    QCOMPARE(content("a"), body);
}

void TransferFaultsTest::lengthOfTheProbeIsWrong_data()
{
    QTest::addColumn<qint64>("announced");
    QTest::newRow("too long") << qint64(9000);
    QTest::newRow("too short") << qint64(3000);
}

void TransferFaultsTest::lengthOfTheProbeIsWrong()
{
    QFETCH(qint64, announced);
    const QByteArray body = HttpResource::generated(0, 5000);
    server().serve(QStringLiteral("/a"), body).headLength = announced;
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(announced, path("a")));
    QCOMPARE(content("a"), body);
    QVERIFY(m_setup->log().contains(
        QStringLiteral("Size Error : %1 : 5000 of %2 bytes").arg(path("a")).arg(announced)));
}

void TransferFaultsTest::bodyChangesAfterTheProbe()
{
    server().serve(QStringLiteral("/a"), "old").laterBody = "a newer one";
    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(3, path("a")));
    QCOMPARE(content("a"), QByteArray("a newer one"));
    // The next attempt learns the new size and has nothing to fetch.
    transfer(DownloadSetup::resumable(url("/a")));
    QCOMPARE(server().log().last(), QStringLiteral("HEAD /a"));
}

void TransferFaultsTest::unwritableFileIsAnError_data()
{
    QTest::addColumn<bool>("restart");
    QTest::newRow("resumable") << false;
    QTest::newRow("restart") << true;
}

void TransferFaultsTest::unwritableFileIsAnError()
{
    QFETCH(bool, restart);
    // Far more than the network layer holds back for a reader that does not come.
    constexpr qint64 Size = Q_INT64_C(8) * 1024 * 1024;
    server().serveGenerated(QStringLiteral("/a"), Size);
    QVERIFY(m_setup->put(QStringLiteral("file"), "in the way"));
    const auto download =
        restart ? DownloadSetup::restart(url("/a")) : DownloadSetup::resumable(url("/a"));
    const QString place = path("file") + QStringLiteral("/a");
    download->setPath(place);
    QCOMPARE(transfer(download),
             withError(restart ? restartEvents(Size, place) : resumableEvents(Size, place)));
    QCOMPARE(content("file"), QByteArray("in the way"));
    QVERIFY(m_setup->manager().find(url("/a")).isNull());
    QCOMPARE(m_setup->log().lines().mid(0, 2), lossLines(place, Size));
}

/// What follows on a loss would pass for the beginning.
void TransferFaultsTest::whatIsNoFileHoldsNobodyUp_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("linkTarget");
    for (const QByteArray &body : {QByteArray("content"), QByteArray("")}) {
        const char *kind = body.isEmpty() ? "empty body" : "body";
        QTest::addRow("%s, pipe", kind) << body << QString();
        QTest::addRow("%s, socket", kind) << body << QStringLiteral("socket");
        QTest::addRow("%s, link to a pipe", kind) << body << QStringLiteral("pipe");
        QTest::addRow("%s, link to an endless device", kind) << body << QStringLiteral("/dev/zero");
    }
}

void TransferFaultsTest::whatIsNoFileHoldsNobodyUp()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, linkTarget);
    server().serve(QStringLiteral("/a"), body);
    const auto takePlace = [&] {
        const QString pipe = linkTarget == QLatin1String("pipe") ? path("pipe") : path("a");
        if (linkTarget == QLatin1String("socket"))
            QCOMPARE(::mknod(QFile::encodeName(path("a")).constData(), S_IFSOCK | 0600, 0), 0);
        else if (!linkTarget.startsWith(QLatin1Char('/')) && !QFileInfo::exists(pipe))
            QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        if (linkTarget == QLatin1String("pipe") || linkTarget.startsWith(QLatin1Char('/')))
            QVERIFY(
                QFile::link(linkTarget == QLatin1String("pipe") ? pipe : linkTarget, path("a")));
    };
    takePlace();
    const QStringList events = transfer(DownloadSetup::resumable(url("/a")));
    QCOMPARE(events.contains(QStringLiteral("error Server Error")), !body.isEmpty());
    // Nobody is to unpack what is no file.
    QVERIFY(!QFileInfo::exists(path("a")) && !QFileInfo(path("a")).isSymLink());
    QVERIFY(!transfer(DownloadSetup::resumable(url("/a")))
                 .contains(QStringLiteral("error Server Error")));
    QCOMPARE(content("a"), body);

    // Pictures and the catalogue start over, which clears the place.
    QFile::remove(path("a"));
    takePlace();
    QVERIFY(!transfer(DownloadSetup::restart(url("/a")))
                 .contains(QStringLiteral("error Server Error")));
    QCOMPARE(content("a"), body);
}

void TransferFaultsTest::placeThatComesTooLateStaysEmpty()
{
    server().serveGenerated(QStringLiteral("/a"), 5000).holdAfter = 1000;
    const auto download = DownloadSetup::resumable(url("/a"));
    const QString place = path("folder") + QStringLiteral("/a");
    download->setPath(place);
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QTRY_VERIFY(!events.currentSizes().isEmpty());
    QVERIFY(QDir().mkpath(path("folder")));
    server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    QCOMPARE(events.list(), withError(resumableEvents(5000, place)));
    QVERIFY(!QFile::exists(place));
    QCOMPARE(m_setup->log().lines().mid(0, 2), lossLines(place, 5000));
}

void TransferFaultsTest::emptyBodyNeedsNoFile()
{
    server().serve(QStringLiteral("/a"), "");
    QVERIFY(m_setup->put(QStringLiteral("file"), "in the way"));
    const auto download = DownloadSetup::restart(url("/a"));
    download->setPath(path("file") + QStringLiteral("/a"));
    QVERIFY(!transfer(download).contains(QStringLiteral("error Server Error")));
}

void TransferFaultsTest::fullDiskIsAnError_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::newRow("body with a length") << false;
    QTest::newRow("body in chunks") << true;
}

void TransferFaultsTest::fullDiskIsAnError()
{
    QFETCH(bool, chunked);
    // Every write to this device fails as on a full disk.
    constexpr qint64 Size = Q_INT64_C(3) * 1024 * 1024;
    server().serveGenerated(QStringLiteral("/a"), Size).chunked = chunked;
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path("a")));
    const QStringList events = transfer(DownloadSetup::resumable(url("/a")));
    QCOMPARE(events, withError(resumableEvents(Size, path("a"))));
    // Opening a device for appending makes Qt complain.
    const QStringList log = m_setup->log().lines();
    QCOMPARE(log.mid(log.size() - 3, 2), lossLines(path("a"), Size));
    QCOMPARE(log.last(),
             QStringLiteral("Size Error : %1 : 0 of %2 bytes").arg(path("a")).arg(Size));
    QCOMPARE(m_setup->log().count(QStringLiteral("Network Error : ")), 0);
}

void TransferFaultsTest::fullDiskKeepsWhatArrived()
{
    constexpr qint64 Size = 500000;
    constexpr qint64 Room = 100000;
    server().serveGenerated(QStringLiteral("/a"), Size).holdAfter = 200000;
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    {
        const FullDisk disk(Room);
        m_setup->manager().add(download, false);
        // No piece of the body ends there, so that some of it has been lost.
        QTRY_COMPARE(QFileInfo(path("a")).size(), Room);
    }
    // There is room again, but what comes now would not follow on what is there.
    server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    QCOMPARE(events.list(), withError(resumableEvents(Size, path("a"))));
    QVERIFY(content("a") == HttpResource::generated(0, Room));
    QCOMPARE(m_setup->log().lines().mid(0, 2), lossLines(path("a"), Size - Room));

    QCOMPARE(transfer(DownloadSetup::resumable(url("/a"))), resumableEvents(Size, path("a")));
    QCOMPARE(server().last("GET", QStringLiteral("/a")).header("Range"),
             QByteArray("bytes=100000-"));
    QVERIFY(content("a") == HttpResource::generated(0, Size));
}

void TransferFaultsTest::lossAndErrorAreToldOnce()
{
    server().serve(QStringLiteral("/a"), "content").cutAfter = 6;
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), path("a")));
    const QStringList events = transfer(DownloadSetup::resumable(url("/a")));
    QCOMPARE(events.filter(QStringLiteral("error")).size(), 1);
    QCOMPARE(m_setup->log().count(QStringLiteral("Network Error : ")), 1);
    QVERIFY(m_setup->log().contains(lossLines(path("a"), 6).first()));
}

void TransferFaultsTest::cacheFolderThatVanished()
{
    server().serve(QStringLiteral("/a"), "content");
    QVERIFY(QDir(m_setup->profile().cacheFolder()).removeRecursively());
    const QStringList events = transfer(DownloadSetup::restart(url("/a")));
    QCOMPARE(events.last(), QString(QStringLiteral("finished ") + path("a")));
}

KAVO_TEST_MAIN(TransferFaultsTest)
#include "TransferFaultsTest.moc"
