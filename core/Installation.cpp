#include "core/Installation.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTextStream>

namespace Kavo {

namespace {

/// How often `isUnwanted` is asked.
constexpr int LookInterval = 50; ///< in milliseconds

/// Waits until the tool ends, without a time limit. Returns whether it ended by itself.
bool waitForEnd(QProcess &process, const std::function<bool()> &isUnwanted)
{
    while (!process.waitForFinished(LookInterval)) {
        if (process.state() == QProcess::NotRunning)
            return false;
        if (isUnwanted && isUnwanted()) {
            process.kill();
            process.waitForFinished(-1);
            return false;
        }
    }
    return true;
}

/// The output of `locate`, empty unless it succeeded.
QByteArray locateOutput(const std::function<bool()> &isUnwanted)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setProgram(QStringLiteral("locate"));
    process.setArguments({simulatorExecutable()});
    process.start(QIODevice::ReadWrite);
    // With its input closed, a tool that prompts continues instead of waiting.
    process.closeWriteChannel();
    const bool ended = waitForEnd(process, isUnwanted);
    process.waitForReadyRead(-1);
    const bool succeeded =
        ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return succeeded ? process.readAll() : QByteArray();
}

} // namespace

QString simulatorExecutable()
{
    // Fixed, see docs/compatibility.md.
    return QStringLiteral("X-Plane-x86_64");
}

QString locateInstallation(const std::function<bool()> &isUnwanted)
{
    const QByteArray output = locateOutput(isUnwanted);
    QTextStream stream(output);
    // The tool prints file names as the file system has them.
    stream.setCodec("UTF-8");
    QString line;
    while (stream.readLineInto(&line)) {
        const QFileInfo candidate(line);
        if (line.endsWith(simulatorExecutable()) && candidate.isFile())
            return candidate.path() + QDir::separator();
    }
    return QString();
}

bool holdsSimulator(const QString &folder)
{
    const QDir place(folder);
    return !folder.isEmpty() &&
           (place.exists(simulatorExecutable()) || place.exists(QStringLiteral("X-Plane.exe")));
}

} // namespace Kavo
