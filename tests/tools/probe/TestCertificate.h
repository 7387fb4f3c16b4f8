#pragma once

#include <QByteArray>
#include <QSslCertificate>
#include <QSslKey>

namespace Kavo::Testing {

/// A certificate signed by an authority of the test, and its key.
class TestCertificate final
{
public:
    /// For a server of this name or number, until so many days from now; a negative count is past.
    TestCertificate(const QByteArray &server, int days);

    QSslCertificate certificate() const { return QSslCertificate(m_certificate); }
    QSslKey key() const { return QSslKey(m_key, QSsl::Ec); }

    /// The authority that signs all certificates.
    static QSslCertificate authority();

private:
    QByteArray m_certificate; ///< in PEM, as the key
    QByteArray m_key;
};

} // namespace Kavo::Testing
