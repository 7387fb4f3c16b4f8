#pragma once

#include <QByteArray>
#include <QString>
#include <QTcpServer>

namespace Kavo::Testing {

class TestCertificate;

/// Answers each request over TLS with the same bytes, on a free loopback port. Works on the thread
/// of its creator.
class TlsServer final : public QTcpServer
{
    Q_OBJECT

public:
    explicit TlsServer(const TestCertificate &certificate);

    /// Head and body of every answer.
    void setAnswer(const QByteArray &answer) { m_answer = answer; }
    /// The address of its root.
    QString url() const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    const TestCertificate &m_certificate;
    QByteArray m_answer;
};

} // namespace Kavo::Testing
