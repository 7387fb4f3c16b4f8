#include "tools/probe/ServerProbe.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <functional>

using namespace Kavo::Testing;
using namespace Kavo::Tools;

using Subject = Observation::Subject;
/// What is made of a server with which nothing is wrong.
using Change = std::function<void(TestHttpServer &)>;

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(std::chrono::milliseconds)
Q_DECLARE_METATYPE(Subject)
Q_DECLARE_METATYPE(Verdict)

namespace {

/// Long enough for a loaded machine, and short enough to wait for a server that is silent.
constexpr std::chrono::milliseconds Patience(20000);
constexpr std::chrono::milliseconds ShortPatience(1000);

const QString Catalogue = QStringLiteral("/packages.json");
const QString Icon = QStringLiteral("/icon.png");
const QString Archive = QStringLiteral("/archive.7z");

QByteArray picture(int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QJsonObject version(const QString &link, const QString &text = QStringLiteral("1.0"))
{
    return {{QStringLiteral("version"), text}, {QStringLiteral("link"), link}};
}

QJsonObject package(int id, const QString &icon, const QJsonArray &versions)
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("icon"), icon},
            // Long enough to be worth a compression.
            {QStringLiteral("log"), QString(5000, QLatin1Char('a'))},
            {QStringLiteral("versions"), versions}};
}

QByteArray catalogueOf(const QJsonArray &packages)
{
    return QJsonDocument(packages).toJson();
}

QByteArray catalogueWith(const QString &icon, const QString &link)
{
    return catalogueOf({package(1, icon, {version(link)})});
}

HttpResource &publish(TestHttpServer &server, const QString &path, const QByteArray &body,
                      const QByteArray &type)
{
    HttpResource &resource = server.serve(path, body);
    resource.entityTag = "\"1\"";
    resource.knowsWhatIsUnchanged = true;
    resource.headers = {{"Content-Type", type}};
    return resource;
}

/// A server from which users miss nothing.
void furnish(TestHttpServer &server)
{
    publish(server, Catalogue, catalogueWith(server.url(Icon), server.url(Archive)),
            "application/json")
        .compresses = true;
    publish(server, Icon, picture(192), "image/png")
        .headers.append(qMakePair(QByteArray("Cache-Control"), QByteArray("max-age=86400")));
    publish(server, Archive, HttpResource::generated(0, 100000), "application/x-7z-compressed");
}

ProbeReport probe(const QString &server, ServerProbe::Extent extent = ServerProbe::Extent::Sample,
                  std::chrono::milliseconds patience = Patience)
{
    return ServerProbe(patience).run(server, extent);
}

/// The worst that was found about one question.
Verdict verdictOf(const ProbeReport &report, Subject subject, const QString &asked)
{
    Verdict worst = Verdict::Good;
    for (const Observation &observation : report.observations()) {
        if (observation.subject == subject && observation.asked == asked)
            worst = std::max(worst, observation.verdict);
    }
    return worst;
}

bool isAsked(const ProbeReport &report, Subject subject, const QString &asked)
{
    return std::any_of(report.observations().cbegin(), report.observations().cend(),
                       [&](const Observation &observation) {
                           return observation.subject == subject && observation.asked == asked;
                       });
}

Change onResource(const QString &path, const std::function<void(HttpResource &)> &change)
{
    return [path, change](TestHttpServer &server) { change(server.resource(path)); };
}

Change withPath(const QString &path, const QByteArray &body)
{
    return onResource(path, [body](HttpResource &resource) { resource.body = body; });
}

/// So many redirects in front of a file.
Change redirected(const QString &path, int count)
{
    return [path, count](TestHttpServer &server) {
        const HttpResource target = server.resource(path);
        for (int number = 0; number < count; ++number) {
            const QString next = QStringLiteral("/redirect-%1").arg(number);
            const QString from =
                number == 0 ? path : QStringLiteral("/redirect-%1").arg(number - 1);
            server.serve(from, QByteArray()).redirect = server.url(next).toLatin1();
        }
        server.serve(QStringLiteral("/redirect-%1").arg(count - 1), QByteArray()) = target;
    };
}

void row(const char *name, Subject subject, const char *asked, Verdict verdict,
         const Change &change, std::chrono::milliseconds patience = Patience)
{
    QTest::newRow(name) << subject << QString::fromLatin1(asked) << verdict << change << patience;
}

void addColumns()
{
    QTest::addColumn<Subject>("subject");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<Verdict>("verdict");
    QTest::addColumn<Change>("change");
    QTest::addColumn<std::chrono::milliseconds>("patience");
}

/// A server that ends each connection with the head and the first bytes of its answer.
class CuttingServer final : public QTcpServer
{
public:
    explicit CuttingServer(int bytes)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this, bytes] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket, bytes] {
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" +
                              QByteArray("[]").leftJustified(bytes));
                socket->disconnectFromHost();
            });
        });
    }

    QString url() const { return QStringLiteral("http://127.0.0.1:%1/").arg(serverPort()); }
};

/// A server that sends a byte every now and then, for ever.
class DrippingServer final : public QTcpServer
{
public:
    DrippingServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, &DrippingServer::drip);
    }

    QString url() const { return QStringLiteral("http://127.0.0.1:%1/").arg(serverPort()); }

private:
    void drip()
    {
        QTcpSocket *socket = nextPendingConnection();
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        auto *timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, [socket] { socket->write(" "); });
        timer->start(5);
    }
};

} // namespace

/// What is found out about a server: one fault a row, and what it is worth.
class ServerProbeTest final : public QObject
{
    Q_OBJECT

private slots:
    void usersMissNothing();
    void catalogueFaults_data();
    void catalogueFaults();
    void pictureFaults_data();
    void pictureFaults();
    void archiveFaults_data();
    void archiveFaults();
    void unreachableServers();
    void silentServersEnd_data();
    void silentServersEnd();
    void cutIsNoticed();
    void drippingServerEnds();
    void silentArchivesAreGivenUp();
    void sampleIsSmall();
    void allIsAll();
    void noArchiveIsFetched();
    void requestsAreThoseOfTheProgram();
    void plainNginx();

private:
    static void judge();
};

void ServerProbeTest::usersMissNothing()
{
    TestHttpServer server;
    furnish(server);
    for (const auto extent : {ServerProbe::Extent::Sample, ServerProbe::Extent::All}) {
        const ProbeReport report = probe(server.url(QString()), extent);
        QVERIFY2(report.worst() <= Verdict::Note, qPrintable(report.text()));
        // A check that is not made finds nothing.
        for (const char *asked : {"the whole file", "its type", "compression",
                                  "whether it has changed", "to be kept by the program"})
            QVERIFY2(isAsked(report, Subject::Catalogue, QString::fromLatin1(asked)), asked);
        for (const char *asked : {"a picture", "a fitting size", "to be kept by the program"})
            QVERIFY2(isAsked(report, Subject::Picture, QString::fromLatin1(asked)), asked);
        for (const char *asked :
             {"HEAD", "the file as it is", "GET as HEAD said", "a part from the middle",
              "the end of it", "If-Range, unchanged", "If-Range, replaced"})
            QVERIFY2(isAsked(report, Subject::Archive, QString::fromLatin1(asked)), asked);
    }
}

void ServerProbeTest::judge()
{
    QFETCH(Subject, subject);
    QFETCH(QString, asked);
    QFETCH(Verdict, verdict);
    QFETCH(Change, change);
    QFETCH(std::chrono::milliseconds, patience);
    TestHttpServer server;
    furnish(server);
    change(server);
    const ProbeReport report = probe(server.url(QString()), ServerProbe::Extent::Sample, patience);
    QVERIFY2(isAsked(report, subject, asked), qPrintable(report.text()));
    QVERIFY2(verdictOf(report, subject, asked) == verdict, qPrintable(report.text()));
    QVERIFY2(report.worst() == std::max(verdict, Verdict::Note), qPrintable(report.text()));
    for (const Observation &observation : report.observations())
        QCOMPARE(observation.advice.isEmpty(), observation.verdict == Verdict::Good);
}

void ServerProbeTest::catalogueFaults_data()
{
    addColumns();
    const auto on = [](const std::function<void(HttpResource &)> &change) {
        return onResource(Catalogue, change);
    };
    const auto subject = Subject::Catalogue;
    const char *whole = "the whole file";
    row("missing", subject, whole, Verdict::Unusable,
        [](TestHttpServer &server) { server.removeResource(Catalogue); });
    row("error of the server", subject, whole, Verdict::Unusable,
        on([](HttpResource &file) { file.getStatus = 500; }));
    row("nothing in it", subject, whole, Verdict::Unusable,
        on([](HttpResource &file) { file.getStatus = 204; }));
    row("page", subject, whole, Verdict::Unusable, withPath(Catalogue, "<html>Hello</html>"));
    row("object", subject, whole, Verdict::Unusable, withPath(Catalogue, "{}"));
    row("empty", subject, whole, Verdict::Unusable, withPath(Catalogue, QByteArray()));
    row("half an array", subject, whole, Verdict::Unusable, withPath(Catalogue, "[{\"id\": 1},"));
    row("cut", subject, whole, Verdict::Unusable, on([](HttpResource &file) {
            file.compresses = false;
            file.cutAfter = 1000;
        }));
    row("reset", subject, whole, Verdict::Unusable,
        on([](HttpResource &file) { file.resetAfter = 10; }));
    row("circle of redirects", subject, whole, Verdict::Unusable, [](TestHttpServer &server) {
        server.resource(Catalogue).redirect = server.url(Catalogue).toLatin1();
    });
    row("redirect out of the web", subject, whole, Verdict::Unusable,
        on([](HttpResource &file) { file.redirect = "ftp://127.0.0.1/packages.json"; }));
    row("one redirect", subject, "no redirects", Verdict::Note, redirected(Catalogue, 1));
    row("three redirects", subject, "no redirects", Verdict::Costs, redirected(Catalogue, 3));
    row("other type", subject, "its type", Verdict::Note, on([](HttpResource &file) {
            file.headers = {{"Content-Type", "text/plain"}};
        }));
    row("no type", subject, "its type", Verdict::Note,
        on([](HttpResource &file) { file.headers.clear(); }));
    row("not compressed", subject, "compression", Verdict::Costs,
        on([](HttpResource &file) { file.compresses = false; }));
    row("small and not compressed", subject, "compression", Verdict::Note,
        on([](HttpResource &file) {
            file.compresses = false;
            file.body = "[]";
        }));
    row("nothing to tell a change by", subject, "whether it has changed", Verdict::Costs,
        on([](HttpResource &file) {
            file.entityTag.clear();
            file.lastModified = QDateTime();
        }));
    row("sent again", subject, "whether it has changed", Verdict::Costs,
        on([](HttpResource &file) { file.knowsWhatIsUnchanged = false; }));
    row("only dated", subject, "whether it has changed", Verdict::Good,
        on([](HttpResource &file) { file.entityTag.clear(); }));
    row("only tagged", subject, "whether it has changed", Verdict::Good, on([](HttpResource &file) {
            file.entityTag = "W/\"1\"";
            file.lastModified = QDateTime();
        }));
    const char *kept = "to be kept by the program";
    row("may not be kept", subject, kept, Verdict::Costs, on([](HttpResource &file) {
            file.headers.append(
                qMakePair(QByteArray("Cache-Control"), QByteArray("private, No-Store")));
        }));
    row("varies with everything", subject, kept, Verdict::Costs, on([](HttpResource &file) {
            file.headers.append(qMakePair(QByteArray("Vary"), QByteArray("*")));
        }));
    row("kept as it is", subject, kept, Verdict::Good, on([](HttpResource &file) {
            file.compresses = false;
            file.body = "[]";
        }));
    row("without a length", subject, kept, Verdict::Costs, on([](HttpResource &file) {
            file.compresses = false;
            file.body = "[]";
            file.chunked = true;
        }));
}

void ServerProbeTest::catalogueFaults()
{
    judge();
}

void ServerProbeTest::pictureFaults_data()
{
    addColumns();
    const auto on = [](const std::function<void(HttpResource &)> &change) {
        return onResource(Icon, change);
    };
    const auto subject = Subject::Picture;
    const char *shown = "a picture";
    row("missing", subject, shown, Verdict::Costs,
        [](TestHttpServer &server) { server.removeResource(Icon); });
    row("page", subject, shown, Verdict::Costs, withPath(Icon, "<html>Hello</html>"));
    row("for few users", subject, shown, Verdict::Costs,
        withPath(Icon, "<svg width='96' height='96'/>"));
    row("cut", subject, shown, Verdict::Costs, on([](HttpResource &file) { file.cutAfter = 9; }));
    row("silent", subject, shown, Verdict::Costs,
        on([](HttpResource &file) { file.holdAfter = 9; }), ShortPatience);
    row("in a file", subject, "an address in the web", Verdict::Costs, [](TestHttpServer &server) {
        server.resource(Catalogue).body =
            catalogueWith(QStringLiteral("file:///icon.png"), server.url(Archive));
    });
    const char *size = "a fitting size";
    row("small", subject, size, Verdict::Note, withPath(Icon, picture(48)));
    row("just large enough", subject, size, Verdict::Good, withPath(Icon, picture(96)));
    row("large", subject, size, Verdict::Costs, withPath(Icon, picture(1025)));
    row("heavy", subject, size, Verdict::Costs,
        withPath(Icon, picture(96) + QByteArray(300 * 1024, '\0')));
    row("damaged", subject, size, Verdict::Costs, withPath(Icon, picture(96).left(8)));
    const char *kept = "to be kept by the program";
    row("asked for each time", subject, kept, Verdict::Note,
        on([](HttpResource &file) { file.headers.clear(); }));
    row("fetched each time", subject, kept, Verdict::Costs, on([](HttpResource &file) {
            file.headers.clear();
            file.knowsWhatIsUnchanged = false;
        }));
    row("nothing to tell a change by", subject, kept, Verdict::Costs, on([](HttpResource &file) {
            file.headers.clear();
            file.entityTag.clear();
            file.lastModified = QDateTime();
        }));
    row("may not be kept", subject, kept, Verdict::Costs, on([](HttpResource &file) {
            file.headers = {{"Cache-Control", "no-store"}};
        }));
    row("compressed", subject, kept, Verdict::Costs,
        on([](HttpResource &file) { file.compresses = true; }));
}

void ServerProbeTest::pictureFaults()
{
    judge();
}

void ServerProbeTest::archiveFaults_data()
{
    addColumns();
    const auto on = [](const std::function<void(HttpResource &)> &change) {
        return onResource(Archive, change);
    };
    const auto subject = Subject::Archive;
    row("missing", subject, "HEAD", Verdict::Unusable,
        [](TestHttpServer &server) { server.removeResource(Archive); });
    row("HEAD refused", subject, "HEAD", Verdict::Unusable,
        on([](HttpResource &file) { file.headStatus = 405; }));
    row("HEAD silent", subject, "HEAD", Verdict::Unusable,
        on([](HttpResource &file) { file.holdsHead = true; }), ShortPatience);
    row("no length", subject, "HEAD", Verdict::Costs,
        on([](HttpResource &file) { file.headWithoutLength = true; }));
    row("no date", subject, "HEAD", Verdict::Costs,
        on([](HttpResource &file) { file.headWithoutDate = true; }));
    row("in a file", subject, "an address in the web", Verdict::Unusable,
        [](TestHttpServer &server) {
            server.resource(Catalogue).body =
                catalogueWith(server.url(Icon), QStringLiteral("file:///archive.7z"));
        });
    row("no address", subject, "an address in the web", Verdict::Unusable,
        [](TestHttpServer &server) {
            server.resource(Catalogue).body = catalogueWith(server.url(Icon), QString());
        });
    row("another size", subject, "the size in the catalogue", Verdict::Unusable,
        [](TestHttpServer &server) {
            QJsonObject wrong = version(server.url(Archive));
            wrong.insert(QStringLiteral("size"), 99999);
            server.resource(Catalogue).body = catalogueOf({package(1, server.url(Icon), {wrong})});
        });
    const char *plain = "the file as it is";
    row("GET refused", subject, plain, Verdict::Unusable, on([](HttpResource &file) {
            file.getStatus = 403;
            file.failsOnlyGet = true;
        }));
    row("page", subject, plain, Verdict::Unusable,
        withPath(Archive, "\n<!DOCTYPE html><title>Download</title>"));
    row("compressed", subject, plain, Verdict::Costs,
        on([](HttpResource &file) { file.compressesUnasked = true; }));
    row("cut", subject, plain, Verdict::Unusable,
        on([](HttpResource &file) { file.cutAfter = 1000; }));
    row("wrong length", subject, "GET as HEAD said", Verdict::Costs, on([](HttpResource &file) {
            file.headLength = 99999;
            // So that the end is where it is expected.
            file.rangeShortage = 1;
        }));
    const char *part = "a part from the middle";
    row("ranges ignored", subject, part, Verdict::Costs,
        on([](HttpResource &file) { file.ignoresRange = true; }));
    row("ranges refused", subject, part, Verdict::Costs,
        on([](HttpResource &file) { file.refusesRange = true; }));
    row("another range", subject, part, Verdict::Costs,
        on([](HttpResource &file) { file.rangeDisplacement = 7; }));
    row("unknown range", subject, part, Verdict::Costs,
        on([](HttpResource &file) { file.hidesContentRange = true; }));
    row("other bytes", subject, part, Verdict::Unusable,
        on([](HttpResource &file) { file.damagesRange = true; }));
    row("less at the end", subject, "the end of it", Verdict::Unusable,
        on([](HttpResource &file) { file.rangeShortage = 1; }));
    row("no trust in its own tag", subject, "If-Range, unchanged", Verdict::Costs,
        on([](HttpResource &file) { file.distrustsIfRange = true; }));
    row("weak tag", subject, "If-Range, unchanged", Verdict::Good,
        on([](HttpResource &file) { file.entityTag = "W/\"1\""; }));
    row("replaced, and told", subject, "If-Range, replaced", Verdict::Note,
        on([](HttpResource &file) { file.ignoresIfRange = true; }));
    row("replaced, and not told", subject, "If-Range, replaced", Verdict::Costs,
        on([](HttpResource &file) {
            file.ignoresIfRange = true;
            file.hidesMarksOfRange = true;
        }));
    row("one byte", subject, "HEAD", Verdict::Good, withPath(Archive, "1"));
    row("two bytes", subject, "the end of it", Verdict::Good, withPath(Archive, "12"));
    row("another server", subject, "no redirects", Verdict::Note, [](TestHttpServer &server) {
        const QString place = QStringLiteral("/elsewhere.7z");
        server.serve(place, QByteArray()) = server.resource(Archive);
        server.serve(Archive, QByteArray()).redirect = server.otherHostUrl(place).toLatin1();
    });
}

void ServerProbeTest::archiveFaults()
{
    judge();
}

void ServerProbeTest::unreachableServers()
{
    const ProbeReport refused = probe(TestHttpServer::refusingUrl(QStringLiteral("/")));
    QCOMPARE(refused.worst(), Verdict::Unreachable);
    QCOMPARE(verdictOf(refused, Subject::Catalogue, QStringLiteral("the whole file")),
             Verdict::Unreachable);
    QCOMPARE(probe(QStringLiteral("file:///etc/passwd")).worst(), Verdict::Unreachable);
    QCOMPARE(probe(QStringLiteral("http://a:b@127.0.0.1/")).worst(), Verdict::Unreachable);
}

void ServerProbeTest::silentServersEnd_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<Verdict>("verdict");
    QTest::newRow("no answer") << onResource(Catalogue, [](HttpResource &file) {
        file.holdsGet = true;
    }) << Verdict::Unreachable;
    QTest::newRow("no body") << onResource(Catalogue, [](HttpResource &file) {
        file.holdAfter = 0;
    }) << Verdict::Unusable;
    QTest::newRow("half a body") << onResource(Catalogue, [](HttpResource &file) {
        file.compresses = false;
        file.holdAfter = 1000;
    }) << Verdict::Unusable;
    QTest::newRow("no end of chunks") << onResource(Catalogue, [](HttpResource &file) {
        file.compresses = false;
        file.chunked = true;
        file.holdAfter = file.body.size();
    }) << Verdict::Unusable;
}

void ServerProbeTest::silentServersEnd()
{
    QFETCH(Change, change);
    TestHttpServer server;
    furnish(server);
    change(server);
    QElapsedTimer clock;
    clock.start();
    const ProbeReport report =
        probe(server.url(QString()), ServerProbe::Extent::Sample, ShortPatience);
    QTEST(report.worst(), "verdict");
    // By its silence, not by the limit for all of it.
    QVERIFY(clock.elapsed() < 15 * ShortPatience.count());
    // Nothing else is asked of it.
    QCOMPARE(server.requests().size(), 1);
}

/// What came would be a catalogue. The network layer notices some of the cuts.
void ServerProbeTest::cutIsNoticed()
{
    for (int bytes = 2; bytes < 100000; bytes += 999) {
        CuttingServer server(bytes);
        const ProbeReport report = probe(server.url());
        QCOMPARE(report.worst(), Verdict::Unusable);
        QVERIFY2(report.text().contains(QStringLiteral("cut after")), qPrintable(report.text()));
    }
}

void ServerProbeTest::drippingServerEnds()
{
    DrippingServer server;
    const ProbeReport report =
        probe(server.url(), ServerProbe::Extent::Sample, std::chrono::milliseconds(50));
    QCOMPARE(report.worst(), Verdict::Unusable);
    QCOMPARE(verdictOf(report, Subject::Catalogue, QStringLiteral("the whole file")),
             Verdict::Unusable);
}

void ServerProbeTest::silentArchivesAreGivenUp()
{
    TestHttpServer server;
    furnish(server);
    QJsonArray versions;
    for (int number = 0; number < 40; ++number) {
        const QString path = QStringLiteral("/silent-%1.7z").arg(number);
        server.serve(path, "archive").holdsHead = true;
        versions.append(version(server.url(path), QStringLiteral("1.%1").arg(number)));
    }
    server.resource(Catalogue).body = catalogueOf({package(1, server.url(Icon), versions)});
    const ProbeReport report =
        probe(server.url(QString()), ServerProbe::Extent::All, ShortPatience);
    QCOMPARE(report.worst(), Verdict::Unusable);
    const QStringList log = server.log();
    const auto heads = std::count_if(log.cbegin(), log.cend(), [](const QString &line) {
        return line.startsWith(QLatin1String("HEAD"));
    });
    QVERIFY(heads <= 9);
    const auto judged = std::count_if(
        report.observations().cbegin(), report.observations().cend(),
        [](const Observation &observation) { return observation.verdict == Verdict::Unusable; });
    QCOMPARE(judged, versions.size());
}

void ServerProbeTest::sampleIsSmall()
{
    TestHttpServer server;
    furnish(server);
    QJsonArray packages;
    for (int id = 1; id <= 10; ++id) {
        const QString archive = QStringLiteral("/archive-%1-%2.7z").arg(id);
        packages.append(package(id, server.url(QStringLiteral("/icon-%1.png").arg(id)),
                                {version(server.url(archive.arg(1)), QStringLiteral("1.9")),
                                 version(server.url(archive.arg(2)), QStringLiteral("1.10"))}));
    }
    server.resource(Catalogue).body = catalogueOf(packages);
    probe(server.url(QString()));
    const QStringList log = server.log();
    QVERIFY(log.contains(QStringLiteral("GET /icon-3.png")));
    QVERIFY(!log.contains(QStringLiteral("GET /icon-4.png")));
    QVERIFY(log.contains(QStringLiteral("HEAD /archive-1-2.7z")));
    QVERIFY(!log.contains(QStringLiteral("HEAD /archive-1-1.7z")));
    QVERIFY(log.contains(QStringLiteral("HEAD /archive-3-2.7z")));
    QVERIFY(!log.contains(QStringLiteral("HEAD /archive-4-2.7z")));
}

void ServerProbeTest::allIsAll()
{
    TestHttpServer server;
    furnish(server);
    QJsonArray packages;
    // More than are asked about at a time.
    constexpr int count = 70;
    for (int id = 1; id <= count; ++id) {
        const QString icon = QStringLiteral("/icon-%1.png").arg(id);
        const QString archive = QStringLiteral("/archive-%1.7z").arg(id);
        publish(server, icon, picture(96), "image/png");
        publish(server, archive, HttpResource::generated(id, 3000), "application/zip");
        packages.append(package(id, server.url(icon), {version(server.url(archive))}));
    }
    // What several share is asked for once.
    packages.append(packages.last());
    server.resource(Catalogue).body = catalogueOf(packages);
    server.resource(QStringLiteral("/archive-70.7z")).damagesRange = true;
    const ProbeReport report = probe(server.url(QString()), ServerProbe::Extent::All);
    QCOMPARE(report.worst(), Verdict::Unusable);
    const QString text = report.text();
    const auto has = [&text](const char *row) {
        return QRegularExpression(QString::fromLatin1(row)).match(text).hasMatch();
    };
    QVERIFY2(has("70 icons +a picture"), qPrintable(text));
    QVERIFY2(has("70 archives +HEAD"), qPrintable(text));
    QVERIFY2(has("69 archives +a part from the middle"), qPrintable(text));
}

void ServerProbeTest::noArchiveIsFetched()
{
    TestHttpServer server;
    furnish(server);
    // It would take hours.
    constexpr qint64 size = Q_INT64_C(1) << 42;
    HttpResource &archive = server.serveGenerated(Archive, size);
    archive.entityTag = "\"1\"";
    const ProbeReport report = probe(server.url(QString()));
    QVERIFY2(report.worst() <= Verdict::Note, qPrintable(report.text()));
    QVERIFY(server.requests(Archive).size() > 3);
}

void ServerProbeTest::requestsAreThoseOfTheProgram()
{
    TestHttpServer server;
    furnish(server);
    probe(server.url(QString()));
    const HttpRequest first = server.requests(Catalogue).first();
    QCOMPARE(first.header("Accept-Encoding"), QByteArray("gzip, deflate"));
    QVERIFY(!first.hasHeader("If-None-Match"));
    QCOMPARE(server.last("GET", Catalogue).header("If-None-Match"), QByteArray("\"1\""));
    for (const HttpRequest &request : server.requests(Archive)) {
        QCOMPARE(request.header("Accept-Encoding"), QByteArray("identity"));
        QCOMPARE(request.header("Cache-Control"), QByteArray("no-transform"));
    }
    QVERIFY(server.last("GET", Archive).header("Range").endsWith('-'));
}

/// Without a word in its configuration but the folder.
void ServerProbeTest::plainNginx()
{
    if (!Nginx::isAvailable())
        QSKIP("There is no nginx here");
    Nginx server;
    QVERIFY(server.isRunning());
    const QHash<QString, QByteArray> files{
        {Catalogue, catalogueWith(server.url(Icon), server.url(Archive))},
        {Icon, picture(96)},
        {Archive, HttpResource::generated(0, 100000)}};
    for (auto entry = files.cbegin(); entry != files.cend(); ++entry) {
        QFile file(server.folder() + entry.key().mid(1));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(entry.value()) > 0 && file.flush());
        QVERIFY(file.setFileTime(QDateTime(QDate(2024, 5, 1), QTime(12, 0)),
                                 QFileDevice::FileModificationTime));
    }
    const ProbeReport report =
        probe(server.url(QString()), ServerProbe::Extent::All, std::chrono::milliseconds(10000));
    for (const Observation &observation : report.observations()) {
        const bool isCompression = observation.asked == QLatin1String("compression");
        QVERIFY2((observation.verdict == Verdict::Costs) == isCompression,
                 qPrintable(report.text()));
    }
    QCOMPARE(report.worst(), Verdict::Costs);
}

KAVO_TEST_MAIN(ServerProbeTest)
#include "ServerProbeTest.moc"
