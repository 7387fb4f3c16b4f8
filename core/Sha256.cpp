#include "core/Sha256.h"

#include "core/RegularFile.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace Kavo {

namespace {

/// The size of the read buffer in bytes.
constexpr int BlockSize = 256 * 1024;

/// OpenSSL would free its state when the process ends, while a worker thread may still be hashing
/// or releasing its per-thread data. The system frees that memory anyway.
bool stayUntilTheEnd()
{
    return OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr) == 1;
}

EVP_MD_CTX *newContext()
{
    static const bool stays = stayUntilTheEnd();
    return stays ? EVP_MD_CTX_new() : nullptr;
}

} // namespace

void Sha256::Free::operator()(evp_md_ctx_st *context) const
{
    EVP_MD_CTX_free(context);
}

Sha256::Sha256()
    : m_context(newContext())
    , m_isUsable(m_context && EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) == 1)
{}

void Sha256::add(const char *bytes, qint64 count)
{
    m_isUsable = m_isUsable &&
                 EVP_DigestUpdate(m_context.get(), bytes, static_cast<std::size_t>(count)) == 1;
}

QByteArray Sha256::result()
{
    QByteArray digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int size = 0;
    auto *const place = reinterpret_cast<unsigned char *>(digest.data());
    if (!m_isUsable || EVP_DigestFinal_ex(m_context.get(), place, &size) != 1)
        return QByteArray();
    m_isUsable = false;
    digest.resize(static_cast<int>(size));
    return digest;
}

QByteArray Sha256::ofFile(const QString &path)
{
    QFile file(path);
    if (!openRegular(file, QIODevice::ReadOnly | QIODevice::Unbuffered))
        return QByteArray();
    Sha256 hash;
    QByteArray block(BlockSize, '\0');
    qint64 count = 0;
    while ((count = file.read(block.data(), block.size())) > 0)
        hash.add(block.constData(), count);
    return count == 0 ? hash.result() : QByteArray();
}

} // namespace Kavo
