#pragma once

#include <QByteArray>
#include <QString>

namespace Kavo::Testing {

/// Read and write extended attributes of a file by system calls, unaffected by refuseMarks().
QByteArray markOf(const QString &path, const QByteArray &name); ///< null if there is none
bool setMark(const QString &path, const QByteArray &name, const QByteArray &value);
bool removeMark(const QString &path, const QByteArray &name);

/// Makes the functions for extended attributes fail in this process, as on a file system without
/// them. FileMarks.cpp defines getxattr(), fsetxattr() and fremovexattr(), which replace those of
/// the C library in every test that is linked with it.
void refuseMarks(bool refused);

} // namespace Kavo::Testing
