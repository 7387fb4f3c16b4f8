#include "tests/support/TestHttpServer.h"
#include "tests/support/Archives.h"
#include "tests/support/Literals.h"
#include "tests/support/Nginx.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

using namespace Kavo::Testing;

using ReplyPointer = QScopedPointer<QNetworkReply>;

class TestHttpServerTest final : public QObject
{
    Q_OBJECT

private slots:
    void servesAndRecords();
    void keepsOneConnection();
    void honoursRanges();
    void honoursIfRange_data();
    void honoursIfRange();
    void rangeFaults();
    void faultsEndInTheErrorsTheyStandFor_data();
    void faultsEndInTheErrorsTheyStandFor();
    void compressesWhenAsked();
    void compressesUnasked();
    void refusesWhileItIsDown();
    void bodyChangesAfterTheFirstRequest();
    void heldAnswersGoOnAfterRelease();
    void redirects();
    void largeBodiesAreMadeOnTheWay();
    void nginxServesItsFolder();

private:
    QNetworkReply *get(const QString &url, const QByteArray &range = QByteArray());
    static bool finish(const ReplyPointer &reply);

    QNetworkAccessManager m_network;
};

QNetworkReply *TestHttpServerTest::get(const QString &url, const QByteArray &range)
{
    QNetworkRequest request{QUrl(url)};
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    if (!range.isNull())
        request.setRawHeader("Range", range);
    return m_network.get(request);
}

bool TestHttpServerTest::finish(const ReplyPointer &reply)
{
    return reply->isFinished() || QSignalSpy(reply.data(), &QNetworkReply::finished).wait();
}

void TestHttpServerTest::servesAndRecords()
{
    TestHttpServer server;
    server.serve("/a"_s, "hello");
    const ReplyPointer head(m_network.head(QNetworkRequest(QUrl(server.url("/a"_s)))));
    QVERIFY(finish(head));
    QCOMPARE(head->header(QNetworkRequest::ContentLengthHeader).toInt(), 5);
    QCOMPARE(head->header(QNetworkRequest::LastModifiedHeader).toDateTime(),
             QDateTime(QDate(2023, 5, 17), QTime(12, 0), Qt::UTC));

    const ReplyPointer reply(get(server.url("/a"_s)));
    QVERIFY(finish(reply));
    QCOMPARE(reply->readAll(), QByteArray("hello"));
    const ReplyPointer missing(get(server.url("/b"_s)));
    QVERIFY(finish(missing));
    QCOMPARE(missing->error(), QNetworkReply::ContentNotFoundError);

    QCOMPARE(server.log(), QStringList({"HEAD /a"_s, "GET /a"_s, "GET /b"_s}));
    QVERIFY(server.last("GET", "/a"_s).hasHeader("user-agent"));
    QVERIFY(!server.last("GET", "/a"_s).hasHeader("Range"));
}

void TestHttpServerTest::keepsOneConnection()
{
    TestHttpServer server;
    server.serve("/a"_s, "hello");
    for (int round = 0; round < 3; ++round) {
        const ReplyPointer reply(get(server.url("/a"_s)));
        QVERIFY(finish(reply));
        QCOMPARE(reply->readAll(), QByteArray("hello"));
    }
    QCOMPARE(server.children().size(), 1);
}

void TestHttpServerTest::honoursRanges()
{
    TestHttpServer server;
    server.serve("/a"_s, "0123456789");
    const ReplyPointer reply(get(server.url("/a"_s), "bytes=4-"));
    QVERIFY(finish(reply));
    QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 206);
    QCOMPARE(reply->rawHeader("Content-Range"), QByteArray("bytes 4-9/10"));
    QCOMPARE(reply->readAll(), QByteArray("456789"));
    const ReplyPointer part(get(server.url("/a"_s), "bytes=4-5"));
    QVERIFY(finish(part));
    QCOMPARE(part->readAll(), QByteArray("45"));
}

void TestHttpServerTest::honoursIfRange_data()
{
    const QByteArray date = "Wed, 17 May 2023 12:00:00 GMT";
    Rows<QByteArray, QByteArray, int>()
        .row("same date", {}, date, 206)
        .row("another date", {}, "Thu, 18 May 2023 12:00:00 GMT", 200)
        .row("same tag", "\"1\"", "\"1\"", 206)
        .row("another tag", "\"1\"", "\"2\"", 200)
        .row("weak tag", "W/\"1\"", "W/\"1\"", 200);
}

void TestHttpServerTest::honoursIfRange()
{
    const auto [tag, known, status] = Rows<QByteArray, QByteArray, int>::current();
    TestHttpServer server;
    server.serve("/a"_s, "0123456789").entityTag = tag;
    QNetworkRequest request{QUrl(server.url("/a"_s))};
    request.setRawHeader("Range", "bytes=4-");
    request.setRawHeader("If-Range", known);
    const ReplyPointer reply(m_network.get(request));
    QVERIFY(finish(reply));
    QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), status);
    QCOMPARE(reply->rawHeader("ETag"), tag);
}

void TestHttpServerTest::rangeFaults()
{
    TestHttpServer server;
    server.serve("/ignored"_s, "0123456789").ignoresRange = true;
    server.serve("/displaced"_s, "0123456789").rangeDisplacement = 2;
    server.serve("/refused"_s, "0123456789").refusesRange = true;
    const ReplyPointer ignored(get(server.url("/ignored"_s), "bytes=4-"));
    const ReplyPointer displaced(get(server.url("/displaced"_s), "bytes=4-"));
    const ReplyPointer refused(get(server.url("/refused"_s), "bytes=4-"));
    QVERIFY(finish(ignored) && finish(displaced) && finish(refused));
    QCOMPARE(ignored->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
    QCOMPARE(ignored->readAll(), QByteArray("0123456789"));
    QCOMPARE(displaced->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 206);
    QCOMPARE(displaced->readAll(), QByteArray("6789"));
    QCOMPARE(refused->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 416);
    QVERIFY(refused->readAll().contains("not satisfiable"));
}

void TestHttpServerTest::faultsEndInTheErrorsTheyStandFor_data()
{
    Rows<QString, QNetworkReply::NetworkError, int>()
        .row("cut", "/cut", QNetworkReply::RemoteHostClosedError, 1000)
        .row("cut at once", "/cut0", QNetworkReply::RemoteHostClosedError, 0)
        .row("reset", "/reset", QNetworkReply::RemoteHostClosedError, 1000)
        .row("cut chunks", "/chunks", QNetworkReply::RemoteHostClosedError, 1000)
        .row("torn chunk", "/torn", QNetworkReply::RemoteHostClosedError, 1000)
        .row("whole chunks", "/whole", QNetworkReply::NoError, 5000)
        .row("no length", "/open", QNetworkReply::NoError, 5000)
        .row("no length, cut", "/opencut", QNetworkReply::NoError, 1000)
        .row("empty", "/empty", QNetworkReply::NoError, 0)
        .row("500", "/500", QNetworkReply::InternalServerError, 5000)
        .row("refused", "refuse", QNetworkReply::ConnectionRefusedError, 0);
}

void TestHttpServerTest::faultsEndInTheErrorsTheyStandFor()
{
    const QByteArray body = HttpResource::generated(0, 5000);
    TestHttpServer server;
    server.serve("/cut"_s, body).cutAfter = 1000;
    server.serve("/cut0"_s, body).cutAfter = 0;
    server.serve("/reset"_s, body).resetAfter = 1000;
    server.serve("/chunks"_s, body).cutAfter = 1000;
    server.resource("/chunks"_s).chunked = true;
    server.serve("/torn"_s, body).cutAfter = 1000;
    server.resource("/torn"_s).chunked = true;
    server.resource("/torn"_s).cutsInsideChunk = true;
    server.serve("/whole"_s, body).chunked = true;
    server.serve("/open"_s, body).getWithoutLength = true;
    server.serve("/opencut"_s, body).getWithoutLength = true;
    server.resource("/opencut"_s).cutAfter = 1000;
    server.serve("/empty"_s, QByteArray());
    server.serve("/500"_s, body).getStatus = 500;

    const auto [path, error, received] = Rows<QString, QNetworkReply::NetworkError, int>::current();
    const ReplyPointer reply(
        get(path == "refuse"_s ? server.refusingUrl("/x"_s) : server.url(path)));
    QVERIFY(finish(reply));
    // A closed connection in the middle of a body is not always an error to Qt.
    if (error != QNetworkReply::RemoteHostClosedError || reply->error() != QNetworkReply::NoError)
        QCOMPARE(reply->error(), error);
    const QByteArray bytes = reply->readAll();
    QVERIFY(body.startsWith(bytes));
    // A reset may take back bytes that were on their way.
    QVERIFY(path == "/reset"_s ? bytes.size() <= received : bytes.size() == received);
}

void TestHttpServerTest::compressesWhenAsked()
{
    const QByteArray body(100000, 'x');
    TestHttpServer server;
    server.serve("/a"_s, body).compresses = true;
    const ReplyPointer reply(get(server.url("/a"_s)));
    QVERIFY(finish(reply));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QCOMPARE(reply->rawHeader("Content-Encoding"), QByteArray("gzip"));
    QCOMPARE(reply->readAll(), body);

    QNetworkRequest plain(QUrl(server.url("/a"_s)));
    plain.setRawHeader("Accept-Encoding", "identity");
    const ReplyPointer uncompressed(m_network.get(plain));
    QVERIFY(finish(uncompressed));
    QVERIFY(!uncompressed->hasRawHeader("Content-Encoding"));
    QCOMPARE(uncompressed->readAll(), body);
}

void TestHttpServerTest::compressesUnasked()
{
    const QByteArray body(100000, 'x');
    TestHttpServer server;
    server.serve("/a"_s, body).compressesUnasked = true;
    QNetworkRequest request(QUrl(server.url("/a"_s)));
    request.setRawHeader("Accept-Encoding", "identity");
    const ReplyPointer reply(m_network.get(request));
    QVERIFY(finish(reply));
    QCOMPARE(reply->rawHeader("Content-Encoding"), QByteArray("gzip"));
    QCOMPARE(reply->readAll(), gzipped(body));
}

void TestHttpServerTest::refusesWhileItIsDown()
{
    TestHttpServer server;
    server.serve("/a"_s, "hello");
    const QString url = server.url("/a"_s);
    // The connection of this one is kept, but not for long.
    const ReplyPointer before(get(url));
    QVERIFY(finish(before));
    server.setRefusing(true);
    const ReplyPointer refused(get(url));
    QVERIFY(finish(refused));
    QCOMPARE(refused->error(), QNetworkReply::ConnectionRefusedError);
    QCOMPARE(server.url("/a"_s), url);
    server.setRefusing(false);
    const ReplyPointer after(get(url));
    QVERIFY(finish(after));
    QCOMPARE(after->readAll(), QByteArray("hello"));
}

void TestHttpServerTest::bodyChangesAfterTheFirstRequest()
{
    TestHttpServer server;
    server.serve("/a"_s, "old").laterBody = "newer";
    for (const char *body : {"old", "newer", "newer"}) {
        const ReplyPointer reply(get(server.url("/a"_s)));
        QVERIFY(finish(reply));
        QCOMPARE(reply->readAll(), QByteArray(body));
    }
}

void TestHttpServerTest::heldAnswersGoOnAfterRelease()
{
    TestHttpServer server;
    server.serve("/gate"_s, "gate").holdsGet = true;
    server.serve("/stall"_s, HttpResource::generated(0, 5000)).holdAfter = 1000;
    const ReplyPointer gate(get(server.url("/gate"_s)));
    const ReplyPointer stall(get(server.url("/stall"_s)));
    QVERIFY(server.waitForRequests(2));
    QTRY_COMPARE(stall->bytesAvailable(), 1000);
    QCOMPARE(gate->bytesAvailable(), 0);
    QVERIFY(!gate->isFinished() && !stall->isFinished());
    server.release("/gate"_s);
    server.release("/stall"_s);
    QVERIFY(finish(gate) && finish(stall));
    QCOMPARE(gate->readAll(), QByteArray("gate"));
    QCOMPARE(stall->readAll(), HttpResource::generated(0, 5000));
}

void TestHttpServerTest::redirects()
{
    TestHttpServer server;
    server.serve("/target"_s, "here");
    server.serve("/same"_s, "").redirect = "/target";
    server.serve("/other"_s, "").redirect = server.otherHostUrl("/target"_s).toLatin1();
    server.serve("/loop"_s, "").redirect = "/loop";
    const ReplyPointer same(get(server.url("/same"_s)));
    const ReplyPointer other(get(server.url("/other"_s)));
    const ReplyPointer loop(get(server.url("/loop"_s)));
    QVERIFY(finish(same) && finish(other) && finish(loop));
    QCOMPARE(same->readAll(), QByteArray("here"));
    QCOMPARE(other->readAll(), QByteArray("here"));
    QCOMPARE(other->url().host(), "localhost"_s);
    QCOMPARE(loop->error(), QNetworkReply::TooManyRedirectsError);
}

void TestHttpServerTest::largeBodiesAreMadeOnTheWay()
{
    constexpr qint64 Size = 20 * 1024 * 1024 + 3;
    TestHttpServer server;
    server.serveGenerated("/a"_s, Size);
    const ReplyPointer reply(get(server.url("/a"_s)));
    QVERIFY(finish(reply));
    QCOMPARE(reply->readAll(), HttpResource::generated(0, Size));
}

void TestHttpServerTest::nginxServesItsFolder()
{
    if (!Nginx::isAvailable())
        QSKIP("there is no nginx here");
    Nginx nginx;
    QVERIFY(nginx.isRunning());
    QVERIFY(writeFile(nginx.folder() + "sub/a b"_s, "0123456789"));
    const ReplyPointer reply(get(nginx.url("/sub/a%20b"_s), "bytes=4-"));
    QVERIFY(finish(reply));
    QCOMPARE(reply->readAll(), QByteArray("456789"));

    nginx.stop();
    const ReplyPointer stopped(get(nginx.url("/sub/a%20b"_s)));
    QVERIFY(finish(stopped));
    QVERIFY(stopped->error() != QNetworkReply::NoError);
    QVERIFY(nginx.restart());
    const ReplyPointer again(get(nginx.url("/sub/a%20b"_s)));
    QVERIFY(finish(again));
    QCOMPARE(again->readAll(), QByteArray("0123456789"));
}

KAVO_TEST_MAIN(TestHttpServerTest)
#include "TestHttpServerTest.moc"
