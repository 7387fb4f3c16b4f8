#include "core/Log.h"

#include "core/Paths.h"
#include "core/RegularFile.h"

#include <QDebug>
#include <QFile>
#include <QTextStream>

namespace Kavo {

QString logFile()
{
    return applicationDataDirectory() + QStringLiteral("log.txt");
}

void logMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    Q_UNUSED(type)
    Q_UNUSED(context)
    QFile file(logFile());
    if (!openRegular(file, QIODevice::Append))
        return;
    QTextStream stream(&file);
    // Fixed, see docs/compatibility.md.
    stream << message << '\n';
    stream.flush();
}

void logLine(const QString &line)
{
    qDebug().noquote() << line;
}

} // namespace Kavo
