#pragma once

#include <QMessageLogContext>
#include <QString>

namespace Kavo {

/// Path of the log of the current run, "log.txt" in the application data folder.
QString logFile();

/// Qt message handler that appends every message, as it stands, as one line to logFile().
///
/// The file is opened and closed for each message, so the log on disk is complete up to the last
/// message even when the process is killed. Callable from any thread; takes no lock, so lines
/// written at the same moment may interleave. A message that cannot be written is lost silently.
void logMessage(QtMsgType type, const QMessageLogContext &context, const QString &message);

/// Writes one plain debug line: no quotes and no blanks are added to the text.
void logLine(const QString &line);

} // namespace Kavo
