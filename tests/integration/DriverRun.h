#pragma once

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// One run of the engine driver as a process that can be killed at any moment. Waiting for it runs
/// the event loop, so that servers of the test can answer. Main thread.
class DriverRun final : public QObject
{
    Q_OBJECT

public:
    /// What follows the program's name; the second argument is the simulator's folder.
    explicit DriverRun(const QStringList &arguments);

    void setVariable(const QString &name, const QString &value);

    /// Kills the process so long after its start, or after the first announcement of the phase.
    /// Call before run().
    void killAfter(int milliseconds) { killInPhase(QString(), milliseconds); }
    void killInPhase(const QString &phase, int milliseconds);

    /// Starts the process and waits until it and all programs that it has started have ended.
    /// Returns whether they have.
    bool run();

    /// Whether a signal has ended it. If not, exitCode() is valid.
    bool isKilled() const { return m_process.exitStatus() == QProcess::CrashExit; }
    int exitCode() const { return m_process.exitCode(); }
    /// The phase announced last.
    QString phase() const { return m_phase; }
    /// Duration of the first occurrence of each phase, in milliseconds.
    const QMap<QString, qint64> &phaseTimes() const { return m_phaseTimes; }
    qint64 duration() const { return m_duration; } ///< in milliseconds
    /// Lines on standard output that announce no phase.
    const QStringList &remarks() const { return m_remarks; }

private:
    void read();
    void enter(const QString &phase);
    void killSoon();
    bool hasPrograms() const;

    QProcess m_process;
    QString m_simulator;
    QString m_killPhase;
    int m_killDelay = -1; ///< none
    QString m_phase;
    QMap<QString, qint64> m_phaseTimes;
    QElapsedTimer m_clock;
    qint64 m_phaseBegin = 0;
    qint64 m_duration = 0;
    QStringList m_remarks;
};

} // namespace Kavo::Testing
