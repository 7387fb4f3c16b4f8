#include "tests/tools/probe/TestCertificate.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>

namespace Kavo::Testing {

namespace {

template<auto Free>
struct With
{
    template<typename Type>
    void operator()(Type *object) const
    {
        Free(object);
    }
};

using Key = std::unique_ptr<EVP_PKEY, With<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, With<X509_free>>;
using Bio = std::unique_ptr<BIO, With<BIO_free>>;

constexpr long Day = 24L * 3600;

Key makeKey()
{
    return Key(EVP_EC_gen("P-256"));
}

QByteArray contentOf(BIO &bio)
{
    char *bytes = nullptr;
    const long length = BIO_get_mem_data(&bio, &bytes);
    return {bytes, static_cast<int>(length)};
}

QByteArray pemOf(X509 &certificate)
{
    const Bio bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(bio.get(), &certificate);
    return contentOf(*bio);
}

QByteArray pemOf(EVP_PKEY &key)
{
    const Bio bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PrivateKey_traditional(bio.get(), &key, nullptr, nullptr, 0, nullptr, nullptr);
    return contentOf(*bio);
}

void extend(X509 &certificate, int kind, const QByteArray &value)
{
    X509_EXTENSION *extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.constData());
    X509_add_ext(&certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

/// Returns an unsigned certificate that became valid 100 days ago.
Certificate makeCertificate(const QByteArray &name, int days, EVP_PKEY &key)
{
    Certificate certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    static long serial = 1;
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial++);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -100 * Day);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), days * Day);
    X509_set_pubkey(certificate.get(), &key);
    const auto *text = reinterpret_cast<const unsigned char *>(name.constData());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8, text,
                               -1, -1, 0);
    return certificate;
}

struct Authority
{
    Key key;
    Certificate certificate;
};

const Authority &theAuthority()
{
    static const Authority authority = [] {
        Key key = makeKey();
        Certificate certificate = makeCertificate("Authority of the test", 3650, *key);
        extend(*certificate, NID_basic_constraints, "critical,CA:TRUE");
        X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get()));
        X509_sign(certificate.get(), key.get(), EVP_sha256());
        return Authority{std::move(key), std::move(certificate)};
    }();
    return authority;
}

} // namespace

TestCertificate::TestCertificate(const QByteArray &server, int days)
{
    const Key key = makeKey();
    const Certificate certificate = makeCertificate(server, days, *key);
    extend(*certificate, NID_subject_alt_name, "IP:" + server);
    const Authority &authority = theAuthority();
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(authority.certificate.get()));
    X509_sign(certificate.get(), authority.key.get(), EVP_sha256());
    m_certificate = pemOf(*certificate);
    m_key = pemOf(*key);
}

QSslCertificate TestCertificate::authority()
{
    return QSslCertificate(pemOf(*theAuthority().certificate));
}

} // namespace Kavo::Testing
