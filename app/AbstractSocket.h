#pragma once

#include <QByteArray>

/// Sockets of this machine that have a name and no file: the kernel gives a name to one process at
/// a time, and frees it when that process ends, however it does. Anybody may take any name, so the
/// other side has to be looked at. Nothing here waits.
namespace Kavo {

/// A listening socket, or -1; errno is EADDRINUSE when another process has the name.
int listenAt(const QByteArray &name);

/// A socket connected to whoever listens there, or -1.
int connectTo(const QByteArray &name);

/// The next connection to a listening socket, or -1.
int acceptAt(int socket);

/// Whether the process at the other end of a connection is of the user of this one.
bool isOfThisUser(int connection);

} // namespace Kavo
