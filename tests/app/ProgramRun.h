#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// One run of a program as a process of its own, in the environment of the moment of its start.
/// Every wait runs the event loop, so that servers of the test can answer. Ends with the object,
/// however it is by then. Main thread.
class ProgramRun final
{
public:
    explicit ProgramRun(const QString &program, const QStringList &arguments = {});
    ~ProgramRun();
    Q_DISABLE_COPY_MOVE(ProgramRun)

    /// Returns at once.
    void start();
    /// Returns when its log has begun, and with it its claim on the profile; false when it ends
    /// before.
    bool startAndWait(const QString &log);

    void send(int signal) const;
    /// Whether it came to an end in time.
    bool waitForEnd(int milliseconds = 30000);
    /// The same, and it was with this status.
    bool endsWith(int status);

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    /// All that it has said so far.
    QByteArray standardOutput();
    QByteArray standardError() { return m_process.readAllStandardError(); }

private:
    QProcess m_process;
    QByteArray m_said;
};

} // namespace Kavo::Testing
