#include "app/AbstractSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Kavo {

namespace {

constexpr int Backlog = 16;

struct Address
{
    explicit Address(const QByteArray &name)
    {
        socket.sun_family = AF_UNIX;
        // The name begins with a zero byte and has an explicit length.
        const int most = static_cast<int>(sizeof socket.sun_path) - 1;
        const int count = std::min(name.size(), most);
        std::copy_n(name.constData(), count, socket.sun_path + 1);
        size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) + 1 +
               static_cast<socklen_t>(count);
    }

    const sockaddr *any() const { return reinterpret_cast<const sockaddr *>(&socket); }

    sockaddr_un socket = {};
    socklen_t size = 0;
};

int makeSocket()
{
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

/// Returns the socket, or -1 with the reason in errno.
int keptIf(bool good, int socket)
{
    if (good || socket < 0)
        return socket;
    const int reason = errno;
    ::close(socket);
    errno = reason;
    return -1;
}

} // namespace

int listenAt(const QByteArray &name)
{
    const Address address(name);
    const int socket = makeSocket();
    const bool listens = socket >= 0 && ::bind(socket, address.any(), address.size) == 0 &&
                         ::listen(socket, Backlog) == 0;
    return keptIf(listens, socket);
}

int connectTo(const QByteArray &name)
{
    const Address address(name);
    const int socket = makeSocket();
    return keptIf(socket >= 0 && ::connect(socket, address.any(), address.size) == 0, socket);
}

int acceptAt(int socket)
{
    return ::accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

bool isOfThisUser(int connection)
{
    ucred other = {};
    socklen_t size = sizeof other;
    return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &other, &size) == 0 &&
           other.uid == ::getuid();
}

} // namespace Kavo
