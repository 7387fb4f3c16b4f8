#pragma once

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// One run of the engine driver, as a process that can be ended at any moment. Waiting for it runs
/// the event loop, so that a server of the test can answer it. Main thread.
class DriverRun final : public QObject
{
    Q_OBJECT

public:
    /// What follows the program's name; the second argument is the simulator's folder.
    explicit DriverRun(const QStringList &arguments);

    void setVariable(const QString &name, const QString &value);

    /// When to end it without a warning: so long after its start, or after it has announced the
    /// phase for the first time. Before run().
    void killAfter(int milliseconds) { killInPhase(QString(), milliseconds); }
    void killInPhase(const QString &phase, int milliseconds);

    /// Starts it and waits until it is gone and with it every program that it has started. Returns
    /// whether that came about.
    bool run();

    /// Whether a signal has ended it; otherwise exitCode() tells.
    bool isKilled() const { return m_process.exitStatus() == QProcess::CrashExit; }
    int exitCode() const { return m_process.exitCode(); }
    /// The phase announced last.
    QString phase() const { return m_phase; }
    /// How long each phase lasted when it came first, in milliseconds.
    const QMap<QString, qint64> &phaseTimes() const { return m_phaseTimes; }
    qint64 duration() const { return m_duration; } ///< in milliseconds
    /// Lines on standard output that tell no phase.
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
