#include "tools/probe/ServerProbe.h"
#include "tests/support/Literals.h"
#include "tests/support/Nginx.h"
#include "tests/support/Rows.h"
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

using File = HttpResource;
using Headers = QList<QPair<QByteArray, QByteArray>>;
using Subject = Observation::Subject;
/// Changes a server that has no fault.
using Change = std::function<void(TestHttpServer &)>;

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(ResourceChange)
Q_DECLARE_METATYPE(std::chrono::milliseconds)
Q_DECLARE_METATYPE(Subject)
Q_DECLARE_METATYPE(Verdict)

namespace {

/// The time for which a server may be silent. The first is long enough for a busy machine, the
/// second is for tests with a silent server, which have to wait for it.
constexpr std::chrono::milliseconds Patience(20000);
constexpr std::chrono::milliseconds ShortPatience(1000);

const QString Catalogue = "/packages.json"_s;
const QString Icon = "/icon.png"_s;
const QString Archive = "/archive.7z"_s;

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

QJsonObject version(const QString &link, const QString &text = "1.0"_s)
{
    return {{"version"_s, text}, {"link"_s, link}};
}

QJsonObject package(int id, const QString &icon, const QJsonArray &versions)
{
    return {{"id"_s, id},
            {"icon"_s, icon},
            // Large enough for compression to matter.
            {"log"_s, QString(5000, QLatin1Char('a'))},
            {"versions"_s, versions}};
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

/// Serves a catalogue, an icon and an archive without any fault.
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

/// The worst verdict on one question about a subject; Good if it was not asked.
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

Change onResource(const QString &path, const ResourceChange &change)
{
    return [path, change](TestHttpServer &server) { change(server.resource(path)); };
}

Change withPath(const QString &path, const QByteArray &body)
{
    return onResource(path, with(&File::body, body));
}

Change without(const QString &path)
{
    return [path](TestHttpServer &server) { server.removeResource(path); };
}

/// Returns a change that puts `count` redirects in front of a file.
Change redirected(const QString &path, int count)
{
    return [path, count](TestHttpServer &server) {
        const HttpResource target = server.resource(path);
        for (int number = 0; number < count; ++number) {
            const QString next = "/redirect-%1"_s.arg(number);
            const QString from = number == 0 ? path : "/redirect-%1"_s.arg(number - 1);
            server.serve(from, QByteArray()).redirect = server.url(next).toLatin1();
        }
        server.serve("/redirect-%1"_s.arg(count - 1), QByteArray()) = target;
    };
}

using Judgements = Rows<Subject, QString, Verdict, Change, std::chrono::milliseconds>;

/// Adds the columns of the data table and returns a function that adds a row about this subject.
auto rowsAbout(Subject subject)
{
    return [subject, rows = Judgements()](const char *name, const char *asked, Verdict verdict,
                                          const Change &change,
                                          std::chrono::milliseconds patience = Patience) mutable {
        rows.row(name, subject, asked, verdict, change, patience);
    };
}

/// A TCP server that calls a function for each connection.
class RawServer final : public QTcpServer
{
public:
    explicit RawServer(const std::function<void(QTcpSocket *)> &serve)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this,
                [this, serve] { serve(nextPendingConnection()); });
    }

    QString url() const { return "http://127.0.0.1:%1/"_s.arg(serverPort()); }
};

/// Announces a long body and sends a single byte of it every 5 ms.
void drip(QTcpSocket *socket)
{
    socket->write("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
    auto *timer = new QTimer(socket);
    QObject::connect(timer, &QTimer::timeout, socket, [socket] { socket->write(" "); });
    timer->start(5);
}

} // namespace

/// Tests the verdicts on servers with one fault each.
class ServerProbeTest final : public QObject
{
    Q_OBJECT

private slots:
    void serverWithoutFaultsIsGood()
    {
        TestHttpServer server;
        furnish(server);
        for (const auto extent : {ServerProbe::Extent::Sample, ServerProbe::Extent::All}) {
            const ProbeReport report = probe(server.url(QString()), extent);
            QVERIFY2(report.worst() <= Verdict::Note, qPrintable(report.text()));
            // A question that was not asked has no verdict, so this has to be checked as well.
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

    void catalogueFaults_data()
    {
        auto row = rowsAbout(Subject::Catalogue);
        const auto on = [](const auto &...membersAndValues) {
            return onResource(Catalogue, with(membersAndValues...));
        };
        const char *whole = "the whole file";
        row("missing", whole, Verdict::Unusable, without(Catalogue));
        row("error of the server", whole, Verdict::Unusable,
            on(&File::getStatus, HttpStatus::INTERNAL_SERVER_ERROR));
        row("nothing in it", whole, Verdict::Unusable,
            on(&File::getStatus, HttpStatus::NO_CONTENT));
        row("page", whole, Verdict::Unusable, withPath(Catalogue, "<html>Hello</html>"));
        row("object", whole, Verdict::Unusable, withPath(Catalogue, "{}"));
        row("empty", whole, Verdict::Unusable, withPath(Catalogue, QByteArray()));
        row("half an array", whole, Verdict::Unusable, withPath(Catalogue, "[{\"id\": 1},"));
        row("cut", whole, Verdict::Unusable, on(&File::compresses, false, &File::cutAfter, 1000));
        row("reset", whole, Verdict::Unusable, on(&File::resetAfter, 10));
        row("circle of redirects", whole, Verdict::Unusable, [](TestHttpServer &server) {
            server.resource(Catalogue).redirect = server.url(Catalogue).toLatin1();
        });
        row("redirect out of the web", whole, Verdict::Unusable,
            on(&File::redirect, "ftp://127.0.0.1/packages.json"));
        row("one redirect", "no redirects", Verdict::Note, redirected(Catalogue, 1));
        row("three redirects", "no redirects", Verdict::Costs, redirected(Catalogue, 3));
        row("other type", "its type", Verdict::Note,
            on(&File::headers, Headers{{"Content-Type", "text/plain"}}));
        row("no type", "its type", Verdict::Note, on(&File::headers, Headers()));
        row("not compressed", "compression", Verdict::Costs, on(&File::compresses, false));
        row("small and not compressed", "compression", Verdict::Note,
            on(&File::compresses, false, &File::body, "[]"));
        row("nothing to tell a change by", "whether it has changed", Verdict::Costs,
            on(&File::entityTag, QByteArray(), &File::lastModified, QDateTime()));
        row("sent again", "whether it has changed", Verdict::Costs,
            on(&File::knowsWhatIsUnchanged, false));
        row("only dated", "whether it has changed", Verdict::Good,
            on(&File::entityTag, QByteArray()));
        row("only tagged", "whether it has changed", Verdict::Good,
            on(&File::entityTag, "W/\"1\"", &File::lastModified, QDateTime()));
        const char *kept = "to be kept by the program";
        row("may not be kept", kept, Verdict::Costs,
            on(&File::headers, Headers{{"Cache-Control", "private, No-Store"}}));
        row("varies with everything", kept, Verdict::Costs,
            on(&File::headers, Headers{{"Vary", "*"}}));
        row("kept as it is", kept, Verdict::Good, on(&File::compresses, false, &File::body, "[]"));
        row("without a length", kept, Verdict::Costs,
            on(&File::compresses, false, &File::body, "[]", &File::chunked, true));
    }

    void catalogueFaults() { judge(); }

    void pictureFaults_data()
    {
        auto row = rowsAbout(Subject::Picture);
        const auto on = [](const auto &...membersAndValues) {
            return onResource(Icon, with(membersAndValues...));
        };
        const char *shown = "a picture";
        row("missing", shown, Verdict::Costs, without(Icon));
        row("page", shown, Verdict::Costs, withPath(Icon, "<html>Hello</html>"));
        row("for few users", shown, Verdict::Costs,
            withPath(Icon, "<svg width='96' height='96'/>"));
        row("cut", shown, Verdict::Costs, on(&File::cutAfter, 9));
        row("silent", shown, Verdict::Costs, on(&File::holdAfter, 9), ShortPatience);
        row("in a file", "an address in the web", Verdict::Costs, [](TestHttpServer &server) {
            server.resource(Catalogue).body =
                catalogueWith("file:///icon.png"_s, server.url(Archive));
        });
        const char *size = "a fitting size";
        row("small", size, Verdict::Note, withPath(Icon, picture(48)));
        row("just large enough", size, Verdict::Good, withPath(Icon, picture(96)));
        row("large", size, Verdict::Costs, withPath(Icon, picture(1025)));
        row("heavy", size, Verdict::Costs,
            withPath(Icon, picture(96) + QByteArray(300 * 1024, '\0')));
        row("damaged", size, Verdict::Costs, withPath(Icon, picture(96).left(8)));
        const char *kept = "to be kept by the program";
        row("asked for each time", kept, Verdict::Note, on(&File::headers, Headers()));
        row("fetched each time", kept, Verdict::Costs,
            on(&File::headers, Headers(), &File::knowsWhatIsUnchanged, false));
        row("nothing to tell a change by", kept, Verdict::Costs,
            on(&File::headers, Headers(), &File::entityTag, QByteArray(), &File::lastModified,
               QDateTime()));
        row("may not be kept", kept, Verdict::Costs,
            on(&File::headers, Headers{{"Cache-Control", "no-store"}}));
        row("compressed", kept, Verdict::Costs, on(&File::compresses, true));
    }

    void pictureFaults() { judge(); }

    void archiveFaults_data()
    {
        auto row = rowsAbout(Subject::Archive);
        const auto on = [](const auto &...membersAndValues) {
            return onResource(Archive, with(membersAndValues...));
        };
        row("missing", "HEAD", Verdict::Unusable, without(Archive));
        row("HEAD refused", "HEAD", Verdict::Unusable,
            on(&File::headStatus, HttpStatus::METHOD_NOT_ALLOWED));
        row("HEAD silent", "HEAD", Verdict::Unusable, on(&File::holdsHead, true), ShortPatience);
        row("no length", "HEAD", Verdict::Costs, on(&File::headWithoutLength, true));
        row("no date", "HEAD", Verdict::Costs, on(&File::headWithoutDate, true));
        row("in a file", "an address in the web", Verdict::Unusable, [](TestHttpServer &server) {
            server.resource(Catalogue).body =
                catalogueWith(server.url(Icon), "file:///archive.7z"_s);
        });
        row("no address", "an address in the web", Verdict::Unusable, [](TestHttpServer &server) {
            server.resource(Catalogue).body = catalogueWith(server.url(Icon), QString());
        });
        row("another size", "the size in the catalogue", Verdict::Unusable,
            [](TestHttpServer &server) {
                QJsonObject wrong = version(server.url(Archive));
                wrong.insert("size"_s, 99999);
                server.resource(Catalogue).body =
                    catalogueOf({package(1, server.url(Icon), {wrong})});
            });
        const char *plain = "the file as it is";
        row("GET refused", plain, Verdict::Unusable,
            on(&File::getStatus, HttpStatus::FORBIDDEN, &File::failsOnlyGet, true));
        row("page", plain, Verdict::Unusable,
            withPath(Archive, "\n<!DOCTYPE html><title>Download</title>"));
        row("compressed", plain, Verdict::Costs, on(&File::compressesUnasked, true));
        row("cut", plain, Verdict::Unusable, on(&File::cutAfter, 1000));
        row("wrong length", "GET as HEAD said", Verdict::Costs,
            // Ranges end at this length too. Otherwise their end would be a worse fault.
            on(&File::headLength, 99999, &File::rangeShortage, 1));
        const char *part = "a part from the middle";
        row("ranges ignored", part, Verdict::Costs, on(&File::ignoresRange, true));
        row("ranges refused", part, Verdict::Costs, on(&File::refusesRange, true));
        row("another range", part, Verdict::Costs, on(&File::rangeDisplacement, 7));
        row("unknown range", part, Verdict::Costs, on(&File::hidesContentRange, true));
        row("other bytes", part, Verdict::Unusable, on(&File::damagesRange, true));
        row("less at the end", "the end of it", Verdict::Unusable, on(&File::rangeShortage, 1));
        row("no trust in its own tag", "If-Range, unchanged", Verdict::Costs,
            on(&File::distrustsIfRange, true));
        row("weak tag", "If-Range, unchanged", Verdict::Good, on(&File::entityTag, "W/\"1\""));
        row("replaced, and told", "If-Range, replaced", Verdict::Note,
            on(&File::ignoresIfRange, true));
        row("replaced, and not told", "If-Range, replaced", Verdict::Costs,
            on(&File::ignoresIfRange, true, &File::hidesMarksOfRange, true));
        row("one byte", "HEAD", Verdict::Good, withPath(Archive, "1"));
        row("two bytes", "the end of it", Verdict::Good, withPath(Archive, "12"));
        row("another server", "no redirects", Verdict::Note, [](TestHttpServer &server) {
            const QString place = "/elsewhere.7z"_s;
            server.serve(place, QByteArray()) = server.resource(Archive);
            server.serve(Archive, QByteArray()).redirect = server.otherHostUrl(place).toLatin1();
        });
    }

    void archiveFaults() { judge(); }

    void unreachableServers()
    {
        const ProbeReport refused = probe(TestHttpServer::refusingUrl("/"_s));
        QCOMPARE(refused.worst(), Verdict::Unreachable);
        QCOMPARE(verdictOf(refused, Subject::Catalogue, "the whole file"_s), Verdict::Unreachable);
        QCOMPARE(probe("file:///etc/passwd"_s).worst(), Verdict::Unreachable);
        QCOMPARE(probe("http://a:b@127.0.0.1/"_s).worst(), Verdict::Unreachable);
    }

    void silentServersEnd_data()
    {
        Rows<ResourceChange, Verdict>()
            .row("no answer", with(&File::holdsGet, true), Verdict::Unreachable)
            .row("no body", with(&File::holdAfter, 0), Verdict::Unusable)
            .row("half a body", with(&File::compresses, false, &File::holdAfter, 1000),
                 Verdict::Unusable)
            .row(
                "no end of chunks",
                [](File &file) {
                    file.compresses = false;
                    file.chunked = true;
                    file.holdAfter = file.body.size();
                },
                Verdict::Unusable);
    }

    void silentServersEnd()
    {
        const auto [change, verdict] = Rows<ResourceChange, Verdict>::current();
        TestHttpServer server;
        furnish(server);
        change(server.resource(Catalogue));
        QElapsedTimer clock;
        clock.start();
        const ProbeReport report =
            probe(server.url(QString()), ServerProbe::Extent::Sample, ShortPatience);
        QCOMPARE(report.worst(), verdict);
        // The limit for silence ends the probe before the limit for the whole probe does.
        QVERIFY(clock.elapsed() < 15 * ShortPatience.count());
        QCOMPARE(server.requests().size(), 1);
    }

    /// The part that arrives is a valid catalogue, and Qt reports only some of the cuts as errors.
    void cutIsNoticed()
    {
        for (int bytes = 2; bytes < 100000; bytes += 999) {
            const RawServer server([bytes](QTcpSocket *socket) {
                connect(socket, &QTcpSocket::readyRead, socket, [socket, bytes] {
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" +
                                  QByteArray("[]").leftJustified(bytes));
                    socket->disconnectFromHost();
                });
            });
            const ProbeReport report = probe(server.url());
            QCOMPARE(report.worst(), Verdict::Unusable);
            QVERIFY2(report.text().contains("cut after"_s), qPrintable(report.text()));
        }
    }

    void drippingServerEnds()
    {
        const RawServer server(drip);
        const ProbeReport report =
            probe(server.url(), ServerProbe::Extent::Sample, std::chrono::milliseconds(50));
        QCOMPARE(report.worst(), Verdict::Unusable);
        QCOMPARE(verdictOf(report, Subject::Catalogue, "the whole file"_s), Verdict::Unusable);
    }

    void probeGivesUpSilentArchives()
    {
        TestHttpServer server;
        furnish(server);
        QJsonArray versions;
        for (int number = 0; number < 40; ++number) {
            const QString path = "/silent-%1.7z"_s.arg(number);
            server.serve(path, "archive").holdsHead = true;
            versions.append(version(server.url(path), "1.%1"_s.arg(number)));
        }
        server.resource(Catalogue).body = catalogueOf({package(1, server.url(Icon), versions)});
        const ProbeReport report =
            probe(server.url(QString()), ServerProbe::Extent::All, ShortPatience);
        QCOMPARE(report.worst(), Verdict::Unusable);
        const QStringList log = server.log();
        const auto heads = std::count_if(log.cbegin(), log.cend(), [](const QString &line) {
            return line.startsWith("HEAD"_s);
        });
        QVERIFY(heads <= 9);
        const auto judged =
            std::count_if(report.observations().cbegin(), report.observations().cend(),
                          [](const Observation &observation) {
                              return observation.verdict == Verdict::Unusable;
                          });
        QCOMPARE(judged, versions.size());
    }

    void sampleIsSmall()
    {
        TestHttpServer server;
        furnish(server);
        QJsonArray packages;
        for (int id = 1; id <= 10; ++id) {
            const QString archive = "/archive-%1-%2.7z"_s.arg(id);
            packages.append(package(id, server.url("/icon-%1.png"_s.arg(id)),
                                    {version(server.url(archive.arg(1)), "1.9"_s),
                                     version(server.url(archive.arg(2)), "1.10"_s)}));
        }
        server.resource(Catalogue).body = catalogueOf(packages);
        probe(server.url(QString()));
        const QStringList log = server.log();
        QVERIFY(log.contains("GET /icon-3.png"_s));
        QVERIFY(!log.contains("GET /icon-4.png"_s));
        QVERIFY(log.contains("HEAD /archive-1-2.7z"_s));
        QVERIFY(!log.contains("HEAD /archive-1-1.7z"_s));
        QVERIFY(log.contains("HEAD /archive-3-2.7z"_s));
        QVERIFY(!log.contains("HEAD /archive-4-2.7z"_s));
    }

    void fullProbeRequestsAllFiles()
    {
        TestHttpServer server;
        furnish(server);
        QJsonArray packages;
        // More than the probe requests at a time.
        constexpr int count = 70;
        for (int id = 1; id <= count; ++id) {
            const QString icon = "/icon-%1.png"_s.arg(id);
            const QString archive = "/archive-%1.7z"_s.arg(id);
            publish(server, icon, picture(96), "image/png");
            publish(server, archive, HttpResource::generated(id, 3000), "application/zip");
            packages.append(package(id, server.url(icon), {version(server.url(archive))}));
        }
        // An address that two packages share is requested only once.
        packages.append(packages.last());
        server.resource(Catalogue).body = catalogueOf(packages);
        server.resource("/archive-70.7z"_s).damagesRange = true;
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

    void noArchiveIsFetched()
    {
        TestHttpServer server;
        furnish(server);
        // Fetching the archive would take hours.
        constexpr qint64 size = Q_INT64_C(1) << 42;
        HttpResource &archive = server.serveGenerated(Archive, size);
        archive.entityTag = "\"1\"";
        const ProbeReport report = probe(server.url(QString()));
        QVERIFY2(report.worst() <= Verdict::Note, qPrintable(report.text()));
        QVERIFY(server.requests(Archive).size() > 3);
    }

    void requestsAreThoseOfTheProgram()
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

    /// The configuration serves a folder and says nothing about compression and caching.
    void plainNginx()
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
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(entry.value()) > 0 &&
                    file.flush());
            QVERIFY(file.setFileTime(QDateTime(QDate(2024, 5, 1), QTime(12, 0)),
                                     QFileDevice::FileModificationTime));
        }
        const ProbeReport report = probe(server.url(QString()), ServerProbe::Extent::All,
                                         std::chrono::milliseconds(10000));
        for (const Observation &observation : report.observations()) {
            const bool isCompression = observation.asked == "compression"_s;
            QVERIFY2((observation.verdict == Verdict::Costs) == isCompression,
                     qPrintable(report.text()));
        }
        QCOMPARE(report.worst(), Verdict::Costs);
    }

private:
    static void judge()
    {
        const auto [subject, asked, verdict, change, patience] = Judgements::current();
        TestHttpServer server;
        furnish(server);
        change(server);
        const ProbeReport report =
            probe(server.url(QString()), ServerProbe::Extent::Sample, patience);
        QVERIFY2(isAsked(report, subject, asked), qPrintable(report.text()));
        QVERIFY2(verdictOf(report, subject, asked) == verdict, qPrintable(report.text()));
        QVERIFY2(report.worst() == std::max(verdict, Verdict::Note), qPrintable(report.text()));
        for (const Observation &observation : report.observations())
            QCOMPARE(observation.advice.isEmpty(), observation.verdict == Verdict::Good);
    }
};

KAVO_TEST_MAIN(ServerProbeTest)
#include "ServerProbeTest.moc"
