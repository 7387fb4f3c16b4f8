#pragma once

#include <QByteArray>
#include <QString>

namespace Kavo::Testing {

/// Extended attributes of files as another program reads and writes them, past refuseMarks().
QByteArray markOf(const QString &path, const QByteArray &name); ///< null when there is none
bool setMark(const QString &path, const QByteArray &name, const QByteArray &value);
bool removeMark(const QString &path, const QByteArray &name);

/// Whether the calls for extended attributes fail in this process, as on a disk without them. The
/// functions of this name stand before those of the C library in every test that uses this.
void refuseMarks(bool refused);

} // namespace Kavo::Testing
