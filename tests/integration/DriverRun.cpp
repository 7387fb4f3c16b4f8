#include "tests/integration/DriverRun.h"
#include "tests/support/Literals.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcessEnvironment>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace Kavo::Testing {

namespace {

constexpr int PatienceInMilliseconds = 60000;

} // namespace

DriverRun::DriverRun(const QStringList &arguments) : m_simulator(arguments.at(1))
{
    m_process.setProgram(QStringLiteral(ENGINE_DRIVER));
    m_process.setArguments(arguments);
    m_process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &DriverRun::read);
}

void DriverRun::setVariable(const QString &name, const QString &value)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.insert(name, value);
    m_process.setProcessEnvironment(environment);
}

void DriverRun::killInPhase(const QString &phase, int milliseconds)
{
    m_killPhase = phase;
    m_killDelay = milliseconds;
}

bool DriverRun::run()
{
    // Not QTest::qWaitFor(), which sleeps between its checks: servers must answer and signals be
    // sent in time.
    QEventLoop loop;
    connect(&m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), &loop,
            &QEventLoop::quit);
    connect(&m_process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(PatienceInMilliseconds, &loop, &QEventLoop::quit);
    m_clock.start();
    m_process.start();
    if (m_killPhase.isEmpty())
        killSoon();
    loop.exec();
    read();
    m_duration = m_clock.elapsed();
    enter(m_phase);
    return QTest::qWaitFor(
        [this] { return m_process.state() == QProcess::NotRunning && !hasPrograms(); },
        PatienceInMilliseconds);
}

void DriverRun::read()
{
    while (m_process.canReadLine()) {
        const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
        const QString mark = "phase "_s;
        if (line.startsWith(mark))
            enter(line.mid(mark.size()));
        else
            m_remarks.append(line);
    }
}

void DriverRun::enter(const QString &phase)
{
    const qint64 now = m_clock.elapsed();
    if (!m_phase.isEmpty() && !m_phaseTimes.contains(m_phase))
        m_phaseTimes.insert(m_phase, now - m_phaseBegin);
    m_phaseBegin = now;
    m_phase = phase;
    if (!m_killPhase.isEmpty() && phase == m_killPhase)
        killSoon();
}

void DriverRun::killSoon()
{
    if (m_killDelay < 0)
        return;
    const int delay = std::exchange(m_killDelay, -1);
    if (delay == 0)
        m_process.kill();
    else
        QTimer::singleShot(delay, Qt::PreciseTimer, &m_process, &QProcess::kill);
}

/// Whether child processes of the driver are running. They have the simulator's folder in their
/// arguments.
bool DriverRun::hasPrograms() const
{
    const QByteArray folder = QFile::encodeName(m_simulator);
    const QStringList entries = QDir("/proc"_s).entryList(QDir::Dirs);
    return std::any_of(entries.cbegin(), entries.cend(), [&folder](const QString &entry) {
        QFile commandLine("/proc/%1/cmdline"_s.arg(entry));
        return entry.at(0).isDigit() && commandLine.open(QIODevice::ReadOnly) &&
               commandLine.readAll().contains(folder);
    });
}

} // namespace Kavo::Testing
