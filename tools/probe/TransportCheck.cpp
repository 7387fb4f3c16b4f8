#include "tools/probe/TransportCheck.h"

#include <QHostAddress>

namespace Kavo::Tools {

namespace {

/// One redirect is common for large files; more are careless.
constexpr int MostRedirects = 2;
/// Automatic renewal happens thirty days before the expiry.
constexpr int DaysToRenew = 14;

bool isThisMachine(const QUrl &address)
{
    return address.host() == QLatin1String("localhost") ||
           QHostAddress(address.host()).isLoopback();
}

} // namespace

QString TransportCheck::adviceFor(const Answer &answer)
{
    if (!answer.isTrusted)
        return QStringLiteral(
            "The program refuses the connection. Install a certificate for this name that a public "
            "authority has signed, and have the server send all certificates in between.");
    if (answer.isLost)
        return QStringLiteral("The program does not follow these redirects. Let them lead to the "
                              "file, in a few steps, and never from https to http.");
    if (answer.end == Answer::End::Silent || answer.end == Answer::End::NotAsked)
        return QStringLiteral("Users wait for nothing: the program itself has no time limit. See "
                              "why the server does not answer.");
    if (answer.end == Answer::End::Cut)
        return QStringLiteral("Users get an error, because the connection ends before the file "
                              "does. See the error log of the server.");
    if (answer.status == 0)
        return QStringLiteral("Users get an error. See that the name leads to the server, that it "
                              "runs, and that no firewall is in the way.");
    return QStringLiteral("Users get an error instead of the file. Put it there, and have the "
                          "server answer HEAD and GET with 200.");
}

void TransportCheck::look(const Answer &answer, Observation::Subject subject)
{
    if (answer.status == 0)
        return;
    if (!m_seen.contains(answer.address.authority())) {
        m_seen.insert(answer.address.authority());
        lookAtServer(answer);
    }
    lookAtRedirects(answer, subject);
}

void TransportCheck::lookAtRedirects(const Answer &answer, Observation::Subject subject)
{
    const int count = answer.redirects.size();
    if (count == 0)
        return;
    Observation observation{
        subject,
        answer.address,
        QStringLiteral("no redirects"),
        QStringLiteral("%1, to %2")
            .arg(count)
            .arg(answer.redirects.last().toDisplayString(QUrl::RemoveUserInfo | QUrl::RemoveQuery)),
        Verdict::Note,
        QStringLiteral("Each redirect is one more request whenever it is asked for. "
                       "Name the last address where that is one that lasts.")};
    if (count > MostRedirects) {
        observation.verdict = Verdict::Costs;
        observation.advice =
            QStringLiteral("Users wait for several answers in a row before the first "
                           "byte comes. Name the last address.");
    }
    m_report.add(observation);
}

void TransportCheck::lookAtServer(const Answer &answer)
{
    if (answer.address.scheme() == QLatin1String("https")) {
        lookAtCertificates(answer);
        return;
    }
    Observation observation{
        Observation::Subject::Server,
        answer.address,
        QStringLiteral("a safe connection"),
        QStringLiteral("http"),
        Verdict::Costs,
        QStringLiteral("Anybody on the way can change what users install. Serve it "
                       "over https.")};
    if (isThisMachine(answer.address)) {
        observation.came = QStringLiteral("http, on this machine");
        observation.verdict = Verdict::Note;
        observation.advice =
            QStringLiteral("Nothing can be said of certificates from here. Ask once "
                           "more under the address that users have.");
    }
    m_report.add(observation);
}

void TransportCheck::lookAtCertificates(const Answer &answer)
{
    // A redirect may have led to a connection without certificates.
    if (!answer.tls)
        return;
    const qint64 days = QDateTime::currentDateTimeUtc().daysTo(answer.tls->expiry);
    Observation observation{
        Observation::Subject::Server,
        answer.address,
        QStringLiteral("a trusted certificate"),
        QStringLiteral("%1, until %2")
            .arg(answer.tls->protocol, answer.tls->expiry.date().toString(Qt::ISODate)),
        Verdict::Good,
        QString()};
    if (days < DaysToRenew) {
        observation.verdict = Verdict::Costs;
        observation.advice = QStringLiteral("The program refuses the connection from that day on. "
                                            "Renew the certificate, best by itself.");
    }
    m_report.add(observation);
}

} // namespace Kavo::Tools
