#include "tests/support/TestHttpServer.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Nginx.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <memory>
#include <optional>

using namespace Kavo::Testing;

namespace {

using Reply = std::unique_ptr<QNetworkReply>;
using Headers = QMap<QByteArray, QByteArray>;
using File = HttpResource;
using Fault = ResourceChange;

const QByteArray Digits = "0123456789";
const QByteArray Body = HttpResource::generated(0, 5000);

const Fault NoFault = [](HttpResource &) {};

int statusOf(const Reply &reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

} // namespace

Q_DECLARE_METATYPE(Fault)

class TestHttpServerTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_server.emplace(); }

    void requestsAreAnsweredAndRecorded()
    {
        serve("hello");
        const Reply head(m_network.head(QNetworkRequest(QUrl(m_server->url("/a"_s)))));
        QVERIFY(finish(head));
        QCOMPARE(head->header(QNetworkRequest::ContentLengthHeader).toInt(), 5);
        QCOMPARE(head->header(QNetworkRequest::LastModifiedHeader).toDateTime(),
                 QDateTime(QDate(2023, 5, 17), QTime(12, 0), Qt::UTC));
        QCOMPARE(fetch()->readAll(), QByteArray("hello"));
        QCOMPARE(fetch(m_server->url("/b"_s))->error(), QNetworkReply::ContentNotFoundError);

        QCOMPARE(m_server->log(), QStringList({"HEAD /a"_s, "GET /a"_s, "GET /b"_s}));
        QVERIFY(m_server->last("GET", "/a"_s).hasHeader("user-agent"));
        QVERIFY(!m_server->last("GET", "/a"_s).hasHeader("Range"));
    }

    void connectionIsKept()
    {
        serve("hello");
        for (int round = 0; round < 3; ++round)
            QCOMPARE(fetch()->readAll(), QByteArray("hello"));
        QCOMPARE(m_server->children().size(), 1);
    }

    void rangesAreAnswered_data()
    {
        using namespace HttpStatus;
        Rows<QByteArray, Fault, int, QByteArray, QByteArray>()
            .row("rest", "4-", NoFault, PARTIAL_CONTENT, "bytes 4-9/10", "456789")
            .row("part", "4-5", NoFault, PARTIAL_CONTENT, "bytes 4-5/10", "45")
            .row("ignored", "4-", with(&File::ignoresRange, true), OK, {}, Digits)
            .row("displaced", "4-", with(&File::rangeDisplacement, 2), PARTIAL_CONTENT,
                 "bytes 6-9/10", "6789")
            .row("refused", "4-", with(&File::refusesRange, true), RANGE_NOT_SATISFIABLE,
                 "bytes */10", "<html>Range not satisfiable</html>");
    }

    void rangesAreAnswered()
    {
        const auto [range, change, status, contentRange, body] =
            Rows<QByteArray, Fault, int, QByteArray, QByteArray>::current();
        change(serve(Digits));
        const Reply reply = fetch({{"Range", "bytes=" + range}});
        QCOMPARE(statusOf(reply), status);
        QCOMPARE(reply->rawHeader("Content-Range"), contentRange);
        QCOMPARE(reply->readAll(), body);
    }

    void ifRangeIsHonoured_data()
    {
        using namespace HttpStatus;
        Rows<QByteArray, QByteArray, int>()
            .row("same date", {}, "Wed, 17 May 2023 12:00:00 GMT", PARTIAL_CONTENT)
            .row("another date", {}, "Thu, 18 May 2023 12:00:00 GMT", OK)
            .row("same tag", "\"1\"", "\"1\"", PARTIAL_CONTENT)
            .row("another tag", "\"1\"", "\"2\"", OK)
            .row("weak tag", "W/\"1\"", "W/\"1\"", OK);
    }

    void ifRangeIsHonoured()
    {
        const auto [tag, known, status] = Rows<QByteArray, QByteArray, int>::current();
        serve(Digits).entityTag = tag;
        const Reply reply = fetch({{"Range", "bytes=4-"}, {"If-Range", known}});
        QCOMPARE(statusOf(reply), status);
        QCOMPARE(reply->rawHeader("ETag"), tag);
    }

    void faultsEndInTheirErrors_data()
    {
        const auto closed = QNetworkReply::RemoteHostClosedError;
        const auto none = QNetworkReply::NoError;
        const Fault cut = with(&File::cutAfter, 1000);
        const Fault cutChunks = with(&File::cutAfter, 1000, &File::chunked, true);
        const Fault tornChunk =
            with(&File::cutAfter, 1000, &File::chunked, true, &File::cutsInsideChunk, true);
        const Fault endlessCut = with(&File::cutAfter, 1000, &File::getWithoutLength, true);
        Rows<Fault, QNetworkReply::NetworkError, int>()
            .row("cut", cut, closed, 1000)
            .row("cut at once", with(&File::cutAfter, 0), closed, 0)
            .row("reset", with(&File::resetAfter, 1000), closed, 1000)
            .row("cut chunks", cutChunks, closed, 1000)
            .row("torn chunk", tornChunk, closed, 1000)
            .row("whole chunks", with(&File::chunked, true), none, 5000)
            .row("no length", with(&File::getWithoutLength, true), none, 5000)
            .row("no length, cut", endlessCut, none, 1000)
            .row("empty", with(&File::body, QByteArray()), none, 0)
            .row("500", with(&File::getStatus, HttpStatus::INTERNAL_SERVER_ERROR),
                 QNetworkReply::InternalServerError, 5000);
    }

    void faultsEndInTheirErrors()
    {
        const auto [fault, error, received] =
            Rows<Fault, QNetworkReply::NetworkError, int>::current();
        fault(serve(Body));
        const Reply reply = fetch();
        QVERIFY(reply->isFinished());
        // Qt does not report every connection that is closed in the middle of a body.
        if (error != QNetworkReply::RemoteHostClosedError ||
            reply->error() != QNetworkReply::NoError)
            QCOMPARE(reply->error(), error);
        const QByteArray bytes = reply->readAll();
        QVERIFY(Body.startsWith(bytes));
        // A reset may discard bytes that have been sent.
        const bool isReset = m_server->resource("/a"_s).resetAfter.has_value();
        QVERIFY(isReset ? bytes.size() <= received : bytes.size() == received);
    }

    void serverOnAnotherPortRefuses()
    {
        QCOMPARE(fetch(TestHttpServer::refusingUrl("/x"_s))->error(),
                 QNetworkReply::ConnectionRefusedError);
    }

    void bodiesAreCompressed_data()
    {
        const Fault whenAsked = with(&File::compresses, true);
        const Fault unasked = with(&File::compressesUnasked, true);
        Rows<Fault, Headers, QByteArray, QByteArray>()
            .row("asked for", whenAsked, {}, "gzip", Body)
            .row("not asked for", whenAsked, {{"Accept-Encoding", "identity"}}, {}, Body)
            .row("unasked", unasked, {{"Accept-Encoding", "identity"}}, "gzip", gzipped(Body));
    }

    void bodiesAreCompressed()
    {
        const auto [change, headers, encoding, body] =
            Rows<Fault, Headers, QByteArray, QByteArray>::current();
        change(serve(Body));
        const Reply reply = fetch(headers);
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QCOMPARE(reply->rawHeader("Content-Encoding"), encoding);
        QCOMPARE(reply->readAll(), body);
    }

    void serverThatIsDownRefuses()
    {
        serve("hello");
        const QString url = m_server->url("/a"_s);
        // The connection of this request stays open until the server goes down.
        QCOMPARE(fetch()->readAll(), QByteArray("hello"));
        m_server->setRefusing(true);
        QCOMPARE(fetch()->error(), QNetworkReply::ConnectionRefusedError);
        QCOMPARE(m_server->url("/a"_s), url);
        m_server->setRefusing(false);
        QCOMPARE(fetch()->readAll(), QByteArray("hello"));
    }

    void bodyChangesAfterTheFirstRequest()
    {
        serve("old").laterBody = "newer";
        for (const char *body : {"old", "newer", "newer"})
            QCOMPARE(fetch()->readAll(), QByteArray(body));
    }

    void heldAnswersContinueAfterRelease()
    {
        m_server->serve("/gate"_s, "gate").holdsGet = true;
        m_server->serve("/stall"_s, Body).holdAfter = 1000;
        const Reply gate = start(m_server->url("/gate"_s));
        const Reply stall = start(m_server->url("/stall"_s));
        QVERIFY(m_server->waitForRequests(2));
        QTRY_COMPARE(stall->bytesAvailable(), 1000);
        QCOMPARE(gate->bytesAvailable(), 0);
        QVERIFY(!gate->isFinished() && !stall->isFinished());
        m_server->release("/gate"_s);
        m_server->release("/stall"_s);
        QVERIFY(finish(gate) && finish(stall));
        QCOMPARE(gate->readAll(), QByteArray("gate"));
        QCOMPARE(stall->readAll(), Body);
    }

    void redirectsAreFollowed()
    {
        m_server->serve("/target"_s, "here");
        serve("").redirect = "/target";
        QCOMPARE(fetch()->readAll(), QByteArray("here"));
        serve("").redirect = m_server->otherHostUrl("/target"_s).toLatin1();
        const Reply other = fetch();
        QCOMPARE(other->readAll(), QByteArray("here"));
        QCOMPARE(other->url().host(), "localhost"_s);
        serve("").redirect = "/a";
        QCOMPARE(fetch()->error(), QNetworkReply::TooManyRedirectsError);
    }

    void largeBodiesAreGenerated()
    {
        constexpr qint64 Size = 20 * 1024 * 1024 + 3;
        m_server->serveGenerated("/a"_s, Size);
        QCOMPARE(fetch()->readAll(), HttpResource::generated(0, Size));
    }

    void nginxServesItsFolder()
    {
        if (!Nginx::isAvailable())
            QSKIP("there is no nginx here");
        Nginx nginx;
        QVERIFY(nginx.isRunning());
        QVERIFY(writeFile(nginx.folder() + "sub/a b"_s, Digits));
        const QString url = nginx.url("/sub/a%20b"_s);
        QCOMPARE(fetch(url, {{"Range", "bytes=4-"}})->readAll(), QByteArray("456789"));
        nginx.stop();
        QVERIFY(fetch(url)->error() != QNetworkReply::NoError);
        QVERIFY(nginx.restart());
        QCOMPARE(fetch(url)->readAll(), Digits);
    }

private:
    HttpResource &serve(const QByteArray &body) { return m_server->serve("/a"_s, body); }
    Reply start(const QString &url, const Headers &headers = {})
    {
        QNetworkRequest request{QUrl(url)};
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::NoLessSafeRedirectPolicy);
        for (auto header = headers.cbegin(); header != headers.cend(); ++header)
            request.setRawHeader(header.key(), header.value());
        return Reply(m_network.get(request));
    }

    Reply fetch(const QString &url, const Headers &headers = {})
    {
        Reply reply = start(url, headers);
        finish(reply);
        return reply;
    }

    Reply fetch(const Headers &headers = {}) { return fetch(m_server->url("/a"_s), headers); }

    static bool finish(const Reply &reply)
    {
        return reply->isFinished() || QSignalSpy(reply.get(), &QNetworkReply::finished).wait();
    }

    QNetworkAccessManager m_network;
    std::optional<TestHttpServer> m_server;
};

KAVO_TEST_MAIN(TestHttpServerTest)
#include "TestHttpServerTest.moc"
