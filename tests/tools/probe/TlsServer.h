#pragma once

#include <QByteArray>
#include <QString>
#include <QTcpServer>

namespace Kavo::Testing {

class TestCertificate;

/// A server that answers every request over TLS with the same bytes. Listens on a free loopback
/// port; ends the test if there is none. Needs the event loop of the thread that created it.
class TlsServer final : public QTcpServer
{
    Q_OBJECT

public:
    explicit TlsServer(const TestCertificate &certificate);

    /// Sets the head and the body of every answer.
    void setAnswer(const QByteArray &answer) { m_answer = answer; }
    /// The URL of the root.
    QString url() const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    const TestCertificate &m_certificate;
    QByteArray m_answer;
};

} // namespace Kavo::Testing
