#pragma once

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// One run of the engine driver, as a process that can be killed at any time. run() runs the event
/// loop, so that servers of the test can answer. Main thread.
class DriverRun final : public QObject
{
    Q_OBJECT

public:
    /// The driver's arguments without the program name. The second one is the simulator's folder.
    explicit DriverRun(const QStringList &arguments);

    void setVariable(const QString &name, const QString &value);

    /// Lets run() kill the process after this time, which is measured from its start or from the
    /// first announcement of the phase.
    void killAfter(int milliseconds) { killInPhase(QString(), milliseconds); }
    void killInPhase(const QString &phase, int milliseconds);

    /// Starts the process and waits until it and all of its child processes have ended. Returns
    /// false if the wait times out.
    bool run();

    /// Whether a signal has ended the process. If not, exitCode() is valid.
    bool isKilled() const { return m_process.exitStatus() == QProcess::CrashExit; }
    int exitCode() const { return m_process.exitCode(); }
    /// The phase announced last.
    QString phase() const { return m_phase; }
    /// Duration of the first occurrence of each phase, in milliseconds.
    const QMap<QString, qint64> &phaseTimes() const { return m_phaseTimes; }
    qint64 duration() const { return m_duration; } ///< in milliseconds
    /// The lines of standard output that do not announce a phase.
    const QStringList &remarks() const { return m_remarks; }

private:
    void read();
    void enter(const QString &phase);
    void killSoon();
    bool hasPrograms() const;

    QProcess m_process;
    QString m_simulator;
    QString m_killPhase;
    int m_killDelay = -1; ///< in milliseconds, negative for none
    QString m_phase;
    QMap<QString, qint64> m_phaseTimes;
    QElapsedTimer m_clock;
    qint64 m_phaseBegin = 0;
    qint64 m_duration = 0;
    QStringList m_remarks;
};

} // namespace Kavo::Testing
