#pragma once

#include <QByteArray>

/// Local sockets with a name instead of a file. The kernel gives a name to one process at a time
/// and frees it when that process ends in any way. Any user may take any name, so the peer has to
/// be checked. No function blocks.
namespace Kavo {

/// Returns a listening socket, or -1; errno is EADDRINUSE if another process has the name.
int listenAt(const QByteArray &name);

/// Returns a socket connected to the listening process, or -1.
int connectTo(const QByteArray &name);

/// Returns the next connection to a listening socket, or -1.
int acceptAt(int socket);

/// Whether the peer of a connection runs as the same user.
bool isOfThisUser(int connection);

} // namespace Kavo
