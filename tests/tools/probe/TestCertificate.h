#pragma once

#include <QByteArray>
#include <QSslCertificate>
#include <QSslKey>

namespace Kavo::Testing {

/// A server certificate that is signed by the authority of the tests, and its private key.
class TestCertificate final
{
public:
    /// Creates a certificate for the IP address `server` that expires in `days` days. With a
    /// negative number it has expired already.
    TestCertificate(const QByteArray &server, int days);

    QSslCertificate certificate() const { return QSslCertificate(m_certificate); }
    QSslKey key() const { return QSslKey(m_key, QSsl::Ec); }

    /// The certificate of the authority that signs all certificates.
    static QSslCertificate authority();

private:
    QByteArray m_certificate; ///< PEM
    QByteArray m_key;         ///< PEM
};

} // namespace Kavo::Testing
