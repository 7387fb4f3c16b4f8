#include "tests/tools/probe/TlsServer.h"

#include "tests/support/Literals.h"
#include "tests/tools/probe/TestCertificate.h"

#include <QSslSocket>

namespace Kavo::Testing {

TlsServer::TlsServer(const TestCertificate &certificate) : m_certificate(certificate)
{
    if (!listen(QHostAddress::LocalHost))
        qFatal("No loopback port to listen on");
}

QString TlsServer::url() const
{
    return "https://127.0.0.1:%1/"_s.arg(serverPort());
}

void TlsServer::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    socket->setLocalCertificate(m_certificate.certificate());
    socket->setPrivateKey(m_certificate.key());
    connect(socket, &QSslSocket::readyRead, socket, [this, socket] {
        if (socket->readAll().endsWith("\r\n\r\n"))
            socket->write(m_answer);
    });
    connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
    socket->startServerEncryption();
}

} // namespace Kavo::Testing
