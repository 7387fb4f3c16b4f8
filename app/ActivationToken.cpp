#include "app/ActivationToken.h"

#include <QtGlobal>

namespace Kavo {

namespace {

// Desktops that support both set them to the same value.
constexpr const char *Current = "XDG_ACTIVATION_TOKEN";
constexpr const char *Former = "DESKTOP_STARTUP_ID";

} // namespace

QByteArray activationToken()
{
    const QByteArray token = qgetenv(Current);
    return token.isEmpty() ? qgetenv(Former) : token;
}

void passOnActivationToken(const QByteArray &token)
{
    if (!token.isEmpty())
        qputenv(Former, token);
}

void forgetActivationToken()
{
    qunsetenv(Current);
    qunsetenv(Former);
}

} // namespace Kavo
