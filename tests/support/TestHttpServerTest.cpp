#include "tests/support/TestHttpServer.h"
#include "tests/support/Archives.h"
#include "tests/support/Nginx.h"
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
    server.serve(QStringLiteral("/a"), "hello");
    const ReplyPointer head(
        m_network.head(QNetworkRequest(QUrl(server.url(QStringLiteral("/a"))))));
    QVERIFY(finish(head));
    QCOMPARE(head->header(QNetworkRequest::ContentLengthHeader).toInt(), 5);
    QCOMPARE(head->header(QNetworkRequest::LastModifiedHeader).toDateTime(),
             QDateTime(QDate(2023, 5, 17), QTime(12, 0), Qt::UTC));

    const ReplyPointer reply(get(server.url(QStringLiteral("/a"))));
    QVERIFY(finish(reply));
    QCOMPARE(reply->readAll(), QByteArray("hello"));
    const ReplyPointer missing(get(server.url(QStringLiteral("/b"))));
    QVERIFY(finish(missing));
    QCOMPARE(missing->error(), QNetworkReply::ContentNotFoundError);

    QCOMPARE(server.log(), QStringList({QStringLiteral("HEAD /a"), QStringLiteral("GET /a"),
                                        QStringLiteral("GET /b")}));
    QVERIFY(server.last("GET", QStringLiteral("/a")).hasHeader("user-agent"));
    QVERIFY(!server.last("GET", QStringLiteral("/a")).hasHeader("Range"));
}

void TestHttpServerTest::keepsOneConnection()
{
    TestHttpServer server;
    server.serve(QStringLiteral("/a"), "hello");
    for (int round = 0; round < 3; ++round) {
        const ReplyPointer reply(get(server.url(QStringLiteral("/a"))));
        QVERIFY(finish(reply));
        QCOMPARE(reply->readAll(), QByteArray("hello"));
    }
    QCOMPARE(server.children().size(), 1);
}

void TestHttpServerTest::honoursRanges()
{
    TestHttpServer server;
    server.serve(QStringLiteral("/a"), "0123456789");
    const ReplyPointer reply(get(server.url(QStringLiteral("/a")), "bytes=4-"));
    QVERIFY(finish(reply));
    QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 206);
    QCOMPARE(reply->rawHeader("Content-Range"), QByteArray("bytes 4-9/10"));
    QCOMPARE(reply->readAll(), QByteArray("456789"));
    const ReplyPointer part(get(server.url(QStringLiteral("/a")), "bytes=4-5"));
    QVERIFY(finish(part));
    QCOMPARE(part->readAll(), QByteArray("45"));
}

void TestHttpServerTest::honoursIfRange_data()
{
    const QByteArray date = "Wed, 17 May 2023 12:00:00 GMT";
    QTest::addColumn<QByteArray>("tag");
    QTest::addColumn<QByteArray>("known");
    QTest::addColumn<int>("status");
    QTest::newRow("same date") << QByteArray() << date << 206;
    QTest::newRow("another date") << QByteArray() << QByteArray("Thu, 18 May 2023 12:00:00 GMT")
                                  << 200;
    QTest::newRow("same tag") << QByteArray("\"1\"") << QByteArray("\"1\"") << 206;
    QTest::newRow("another tag") << QByteArray("\"1\"") << QByteArray("\"2\"") << 200;
    QTest::newRow("weak tag") << QByteArray("W/\"1\"") << QByteArray("W/\"1\"") << 200;
}

void TestHttpServerTest::honoursIfRange()
{
    QFETCH(QByteArray, tag);
    QFETCH(QByteArray, known);
    QFETCH(int, status);
    TestHttpServer server;
    server.serve(QStringLiteral("/a"), "0123456789").entityTag = tag;
    QNetworkRequest request{QUrl(server.url(QStringLiteral("/a")))};
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
    server.serve(QStringLiteral("/ignored"), "0123456789").ignoresRange = true;
    server.serve(QStringLiteral("/displaced"), "0123456789").rangeDisplacement = 2;
    server.serve(QStringLiteral("/refused"), "0123456789").refusesRange = true;
    const ReplyPointer ignored(get(server.url(QStringLiteral("/ignored")), "bytes=4-"));
    const ReplyPointer displaced(get(server.url(QStringLiteral("/displaced")), "bytes=4-"));
    const ReplyPointer refused(get(server.url(QStringLiteral("/refused")), "bytes=4-"));
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
    QTest::addColumn<QString>("path");
    QTest::addColumn<QNetworkReply::NetworkError>("error");
    QTest::addColumn<int>("received");
    QTest::newRow("cut") << QStringLiteral("/cut") << QNetworkReply::RemoteHostClosedError << 1000;
    QTest::newRow("cut at once") << QStringLiteral("/cut0") << QNetworkReply::RemoteHostClosedError
                                 << 0;
    QTest::newRow("reset") << QStringLiteral("/reset") << QNetworkReply::RemoteHostClosedError
                           << 1000;
    QTest::newRow("cut chunks") << QStringLiteral("/chunks") << QNetworkReply::RemoteHostClosedError
                                << 1000;
    QTest::newRow("torn chunk") << QStringLiteral("/torn") << QNetworkReply::RemoteHostClosedError
                                << 1000;
    QTest::newRow("whole chunks") << QStringLiteral("/whole") << QNetworkReply::NoError << 5000;
    QTest::newRow("no length") << QStringLiteral("/open") << QNetworkReply::NoError << 5000;
    QTest::newRow("no length, cut") << QStringLiteral("/opencut") << QNetworkReply::NoError << 1000;
    QTest::newRow("empty") << QStringLiteral("/empty") << QNetworkReply::NoError << 0;
    QTest::newRow("500") << QStringLiteral("/500") << QNetworkReply::InternalServerError << 5000;
    QTest::newRow("refused") << QStringLiteral("refuse") << QNetworkReply::ConnectionRefusedError
                             << 0;
}

void TestHttpServerTest::faultsEndInTheErrorsTheyStandFor()
{
    const QByteArray body = HttpResource::generated(0, 5000);
    TestHttpServer server;
    server.serve(QStringLiteral("/cut"), body).cutAfter = 1000;
    server.serve(QStringLiteral("/cut0"), body).cutAfter = 0;
    server.serve(QStringLiteral("/reset"), body).resetAfter = 1000;
    server.serve(QStringLiteral("/chunks"), body).cutAfter = 1000;
    server.resource(QStringLiteral("/chunks")).chunked = true;
    server.serve(QStringLiteral("/torn"), body).cutAfter = 1000;
    server.resource(QStringLiteral("/torn")).chunked = true;
    server.resource(QStringLiteral("/torn")).cutsInsideChunk = true;
    server.serve(QStringLiteral("/whole"), body).chunked = true;
    server.serve(QStringLiteral("/open"), body).getWithoutLength = true;
    server.serve(QStringLiteral("/opencut"), body).getWithoutLength = true;
    server.resource(QStringLiteral("/opencut")).cutAfter = 1000;
    server.serve(QStringLiteral("/empty"), QByteArray());
    server.serve(QStringLiteral("/500"), body).getStatus = 500;

    QFETCH(QString, path);
    QFETCH(QNetworkReply::NetworkError, error);
    QFETCH(int, received);
    const ReplyPointer reply(get(path == QLatin1String("refuse")
                                     ? server.refusingUrl(QStringLiteral("/x"))
                                     : server.url(path)));
    QVERIFY(finish(reply));
    // A closed connection in the middle of a body is not always an error to Qt.
    if (error != QNetworkReply::RemoteHostClosedError || reply->error() != QNetworkReply::NoError)
        QCOMPARE(reply->error(), error);
    const QByteArray bytes = reply->readAll();
    QVERIFY(body.startsWith(bytes));
    // A reset may take back bytes that were on their way.
    QVERIFY(path == QLatin1String("/reset") ? bytes.size() <= received : bytes.size() == received);
}

void TestHttpServerTest::compressesWhenAsked()
{
    const QByteArray body(100000, 'x');
    TestHttpServer server;
    server.serve(QStringLiteral("/a"), body).compresses = true;
    const ReplyPointer reply(get(server.url(QStringLiteral("/a"))));
    QVERIFY(finish(reply));
    QCOMPARE(reply->error(), QNetworkReply::NoError);
    QCOMPARE(reply->rawHeader("Content-Encoding"), QByteArray("gzip"));
    QCOMPARE(reply->readAll(), body);

    QNetworkRequest plain(QUrl(server.url(QStringLiteral("/a"))));
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
    server.serve(QStringLiteral("/a"), body).compressesUnasked = true;
    QNetworkRequest request(QUrl(server.url(QStringLiteral("/a"))));
    request.setRawHeader("Accept-Encoding", "identity");
    const ReplyPointer reply(m_network.get(request));
    QVERIFY(finish(reply));
    QCOMPARE(reply->rawHeader("Content-Encoding"), QByteArray("gzip"));
    QCOMPARE(reply->readAll(), gzipped(body));
}

void TestHttpServerTest::refusesWhileItIsDown()
{
    TestHttpServer server;
    server.serve(QStringLiteral("/a"), "hello");
    const QString url = server.url(QStringLiteral("/a"));
    // The connection of this one is kept, but not for long.
    const ReplyPointer before(get(url));
    QVERIFY(finish(before));
    server.setRefusing(true);
    const ReplyPointer refused(get(url));
    QVERIFY(finish(refused));
    QCOMPARE(refused->error(), QNetworkReply::ConnectionRefusedError);
    QCOMPARE(server.url(QStringLiteral("/a")), url);
    server.setRefusing(false);
    const ReplyPointer after(get(url));
    QVERIFY(finish(after));
    QCOMPARE(after->readAll(), QByteArray("hello"));
}

void TestHttpServerTest::bodyChangesAfterTheFirstRequest()
{
    TestHttpServer server;
    server.serve(QStringLiteral("/a"), "old").laterBody = "newer";
    for (const char *body : {"old", "newer", "newer"}) {
        const ReplyPointer reply(get(server.url(QStringLiteral("/a"))));
        QVERIFY(finish(reply));
        QCOMPARE(reply->readAll(), QByteArray(body));
    }
}

void TestHttpServerTest::heldAnswersGoOnAfterRelease()
{
    TestHttpServer server;
    server.serve(QStringLiteral("/gate"), "gate").holdsGet = true;
    server.serve(QStringLiteral("/stall"), HttpResource::generated(0, 5000)).holdAfter = 1000;
    const ReplyPointer gate(get(server.url(QStringLiteral("/gate"))));
    const ReplyPointer stall(get(server.url(QStringLiteral("/stall"))));
    QVERIFY(server.waitForRequests(2));
    QTRY_COMPARE(stall->bytesAvailable(), 1000);
    QCOMPARE(gate->bytesAvailable(), 0);
    QVERIFY(!gate->isFinished() && !stall->isFinished());
    server.release(QStringLiteral("/gate"));
    server.release(QStringLiteral("/stall"));
    QVERIFY(finish(gate) && finish(stall));
    QCOMPARE(gate->readAll(), QByteArray("gate"));
    QCOMPARE(stall->readAll(), HttpResource::generated(0, 5000));
}

void TestHttpServerTest::redirects()
{
    TestHttpServer server;
    server.serve(QStringLiteral("/target"), "here");
    server.serve(QStringLiteral("/same"), "").redirect = "/target";
    server.serve(QStringLiteral("/other"), "").redirect =
        server.otherHostUrl(QStringLiteral("/target")).toLatin1();
    server.serve(QStringLiteral("/loop"), "").redirect = "/loop";
    const ReplyPointer same(get(server.url(QStringLiteral("/same"))));
    const ReplyPointer other(get(server.url(QStringLiteral("/other"))));
    const ReplyPointer loop(get(server.url(QStringLiteral("/loop"))));
    QVERIFY(finish(same) && finish(other) && finish(loop));
    QCOMPARE(same->readAll(), QByteArray("here"));
    QCOMPARE(other->readAll(), QByteArray("here"));
    QCOMPARE(other->url().host(), QStringLiteral("localhost"));
    QCOMPARE(loop->error(), QNetworkReply::TooManyRedirectsError);
}

void TestHttpServerTest::largeBodiesAreMadeOnTheWay()
{
    constexpr qint64 Size = 20 * 1024 * 1024 + 3;
    TestHttpServer server;
    server.serveGenerated(QStringLiteral("/a"), Size);
    const ReplyPointer reply(get(server.url(QStringLiteral("/a"))));
    QVERIFY(finish(reply));
    QCOMPARE(reply->readAll(), HttpResource::generated(0, Size));
}

void TestHttpServerTest::nginxServesItsFolder()
{
    if (!Nginx::isAvailable())
        QSKIP("there is no nginx here");
    Nginx nginx;
    QVERIFY(nginx.isRunning());
    QVERIFY(writeFile(nginx.folder() + QStringLiteral("sub/a b"), "0123456789"));
    const ReplyPointer reply(get(nginx.url(QStringLiteral("/sub/a%20b")), "bytes=4-"));
    QVERIFY(finish(reply));
    QCOMPARE(reply->readAll(), QByteArray("456789"));

    nginx.stop();
    const ReplyPointer stopped(get(nginx.url(QStringLiteral("/sub/a%20b"))));
    QVERIFY(finish(stopped));
    QVERIFY(stopped->error() != QNetworkReply::NoError);
    QVERIFY(nginx.restart());
    const ReplyPointer again(get(nginx.url(QStringLiteral("/sub/a%20b"))));
    QVERIFY(finish(again));
    QCOMPARE(again->readAll(), QByteArray("0123456789"));
}

KAVO_TEST_MAIN(TestHttpServerTest)
#include "TestHttpServerTest.moc"
