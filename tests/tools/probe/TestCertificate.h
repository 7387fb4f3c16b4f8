#pragma once

#include <QByteArray>
#include <QSslCertificate>
#include <QSslKey>

namespace Kavo::Testing {

/// A certificate that an authority of the test's own has signed, and its key.
class TestCertificate final
{
public:
    /// For a server of this name or number, until so many days from now; a negative count is past.
    TestCertificate(const QByteArray &server, int days);

    QSslCertificate certificate() const { return QSslCertificate(m_certificate); }
    QSslKey key() const { return QSslKey(m_key, QSsl::Ec); }

    /// Signs all of them.
    static QSslCertificate authority();

private:
    QByteArray m_certificate; ///< in PEM, as the key
    QByteArray m_key;
};

} // namespace Kavo::Testing
