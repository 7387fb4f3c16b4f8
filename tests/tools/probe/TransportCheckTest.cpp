#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"
#include "tests/tools/probe/TestCertificate.h"
#include "tests/tools/probe/TlsServer.h"
#include "tools/probe/ServerProbe.h"

#include <QSslConfiguration>

using namespace Kavo::Testing;
using namespace Kavo::Tools;

Q_DECLARE_METATYPE(Verdict)

namespace {

const QByteArray Catalogue = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                             "ETag: \"1\"\r\nContent-Length: 2\r\n\r\n[]";
const QString TrustedCertificate = "a trusted certificate"_s;

ProbeReport probe(const QString &server,
                  std::chrono::milliseconds patience = std::chrono::seconds(20))
{
    return ServerProbe(patience).run(server, ServerProbe::Extent::Sample);
}

QVector<Observation> about(const ProbeReport &report, const QString &asked)
{
    QVector<Observation> found;
    for (const Observation &observation : report.observations()) {
        if (observation.asked == asked)
            found.append(observation);
    }
    return found;
}

} // namespace

/// Tests the verdicts on certificates and connections, with real TLS servers.
class TransportCheckTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QSslSocket::supportsSsl());
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates({TestCertificate::authority()});
        QSslConfiguration::setDefaultConfiguration(configuration);
    }

    void trustedCertificates_data()
    {
        Rows<int, Verdict>()
            .row("fresh", 90, Verdict::Good)
            .row("just long enough", 16, Verdict::Good)
            .row("ends soon", 13, Verdict::Costs)
            .row("ends tomorrow", 1, Verdict::Costs);
    }

    void trustedCertificates()
    {
        const auto [days, verdict] = Rows<int, Verdict>::current();
        const TestCertificate certificate("127.0.0.1", days);
        TlsServer server(certificate);
        server.setAnswer(Catalogue);
        const ProbeReport report = probe(server.url());
        const QVector<Observation> found = about(report, TrustedCertificate);
        QVERIFY2(found.size() == 1, qPrintable(report.text()));
        QCOMPARE(found.first().verdict, verdict);
        const QDate expiry = QDateTime::currentDateTimeUtc().addDays(days).date();
        QVERIFY2(found.first().came.startsWith("TLSv1."_s), qPrintable(report.text()));
        QVERIFY2(found.first().came.endsWith(expiry.toString(Qt::ISODate)),
                 qPrintable(report.text()));
    }

    void refusedCertificates_data()
    {
        Rows<QByteArray, int>()
            .row("over", "127.0.0.1", -1)
            .row("of another server", "127.0.0.2", 90);
    }

    void refusedCertificates()
    {
        const auto [name, days] = Rows<QByteArray, int>::current();
        const TestCertificate certificate(name, days);
        TlsServer server(certificate);
        server.setAnswer(Catalogue);
        const ProbeReport report = probe(server.url());
        QCOMPARE(report.worst(), Verdict::Unusable);
        QVERIFY2(report.text().contains("Install a certificate"_s), qPrintable(report.text()));
    }

    void unknownAuthority()
    {
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration configuration = before;
        configuration.setCaCertificates({TestCertificate("127.0.0.1", 90).certificate()});
        QSslConfiguration::setDefaultConfiguration(configuration);
        const TestCertificate certificate("127.0.0.1", 90);
        TlsServer server(certificate);
        server.setAnswer(Catalogue);
        const ProbeReport report = probe(server.url());
        QSslConfiguration::setDefaultConfiguration(before);
        QCOMPARE(report.worst(), Verdict::Unusable);
        QVERIFY2(report.text().contains("Install a certificate"_s), qPrintable(report.text()));
    }

    void noTlsAtAll()
    {
        TestHttpServer server;
        QString address = server.url(QString());
        address.replace(QLatin1String("http:"), QLatin1String("https:"));
        // The server waits for a request and the client for the server's handshake, so the time
        // limit has to end the probe. It is short to keep the test fast.
        const ProbeReport report = probe(address, std::chrono::milliseconds(250));
        QVERIFY2(report.worst() == Verdict::Unreachable, qPrintable(report.text()));
    }

    void redirectOutOfTls()
    {
        TestHttpServer plain;
        plain.serve("/packages.json"_s, "[]");
        const TestCertificate certificate("127.0.0.1", 90);
        TlsServer server(certificate);
        server.setAnswer("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " +
                         plain.url("/packages.json"_s).toLatin1() + "\r\n\r\n");
        const ProbeReport report = probe(server.url());
        QCOMPARE(report.worst(), Verdict::Unusable);
        QVERIFY2(report.text().contains("never from https to http"_s), qPrintable(report.text()));
        QVERIFY(plain.requests().isEmpty());
    }

    void redirectIntoTls()
    {
        const TestCertificate certificate("127.0.0.1", 90);
        TlsServer server(certificate);
        server.setAnswer(Catalogue);
        TestHttpServer plain;
        plain.serve("/packages.json"_s, QByteArray()).redirect =
            server.url().toLatin1() + "packages.json";
        const ProbeReport report = probe(plain.url(QString()));
        QVERIFY2(report.worst() < Verdict::Unusable, qPrintable(report.text()));
        const QVector<Observation> found = about(report, "no redirects"_s);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first().verdict, Verdict::Note);
        QVERIFY(found.first().came.contains("https://"_s));
    }

    void plainConnectionToAnotherMachine()
    {
        ProbeReport report;
        TransportCheck transport(report);
        Answer answer;
        answer.status = 200;
        answer.address = QUrl("http://example.org/packages.json"_s);
        transport.look(answer, Observation::Subject::Catalogue);
        answer.address = QUrl("http://example.org/other.7z"_s);
        transport.look(answer, Observation::Subject::Archive);
        QCOMPARE(report.observations().size(), 1);
        QCOMPARE(report.worst(), Verdict::Costs);
    }
};

KAVO_TEST_MAIN(TransportCheckTest)
#include "TransportCheckTest.moc"
