#pragma once

#include <QFile>

/// A path may lead to something other than a regular file. Opening a named pipe blocks until
/// another process opens its other end, and reading a device may never end.
namespace Kavo {

/// Whether the path leads to a pipe, a socket or a device, directly or by a link.
bool isSpecialFile(const QString &path);

/// Opens a file unless it is a special one, so that the call never blocks. Returns whether the file
/// is open. May be called on any thread.
bool openRegular(QFile &file, QIODevice::OpenMode mode);

} // namespace Kavo
