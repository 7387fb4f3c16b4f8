#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// Runs a program as a separate process, with the environment variables at the time of its start.
/// Every wait runs the event loop, so that servers of the test can answer. The destructor kills the
/// process if it is still running. Main thread.
class ProgramRun final
{
public:
    explicit ProgramRun(const QString &program, const QStringList &arguments = {});
    ~ProgramRun();
    Q_DISABLE_COPY_MOVE(ProgramRun)

    /// Starts the process and returns immediately.
    void start();
    /// Starts the process and waits until it has claimed the profile and begun its log, which is
    /// the given file. Returns false if the process ends before or the wait times out.
    bool startAndWait(const QString &log);

    void send(int signal) const;
    /// Whether the process has ended in time.
    bool waitForEnd(int milliseconds = 30000);
    /// Whether the process has ended in time, normally and with this exit status.
    bool endsWith(int status);

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    /// All output since the start.
    QByteArray standardOutput();
    /// The error output since the previous call.
    QByteArray standardError() { return m_process.readAllStandardError(); }

private:
    QProcess m_process;
    QByteArray m_said;
};

} // namespace Kavo::Testing
