#pragma once

#include <QFile>

/// Anything can stand under a name. A named pipe holds up whoever opens it until somebody opens its
/// other end, and a device may bring bytes without end.
namespace Kavo {

/// Whether a pipe, a socket or a device stands there, or a link to one.
bool isSpecialFile(const QString &path);

/// Opens a file unless it is a special one, so that nobody is waited for. Returns whether it is
/// open. Callable from any thread.
bool openRegular(QFile &file, QIODevice::OpenMode mode);

} // namespace Kavo
