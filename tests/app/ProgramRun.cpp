#include "tests/app/ProgramRun.h"

#include "tests/support/Files.h"
#include "tests/support/RunUntil.h"

#include <QFile>

#include <csignal>

namespace Kavo::Testing {

namespace {

constexpr int Patience = 30000; ///< in milliseconds

} // namespace

ProgramRun::ProgramRun(const QString &program, const QStringList &arguments)
{
    m_process.setProgram(program);
    m_process.setArguments(arguments);
}

ProgramRun::~ProgramRun()
{
    m_process.kill();
    m_process.waitForFinished();
}

void ProgramRun::start()
{
    m_process.start();
}

bool ProgramRun::startAndWait(const QString &log)
{
    QFile::remove(log);
    start();
    const auto hasBegun = [&log] { return readFile(log).contains("Loading settings from : "); };
    runUntil([this, hasBegun] { return hasBegun() || !isRunning(); }, Patience);
    return hasBegun() && isRunning();
}

QByteArray ProgramRun::standardOutput()
{
    m_said += m_process.readAllStandardOutput();
    return m_said;
}

void ProgramRun::send(int signal) const
{
    ::kill(static_cast<pid_t>(processId()), signal);
}

bool ProgramRun::waitForEnd(int milliseconds)
{
    return runUntil([this] { return !isRunning(); }, milliseconds);
}

bool ProgramRun::endsWith(int status)
{
    return waitForEnd() && m_process.exitStatus() == QProcess::NormalExit &&
           m_process.exitCode() == status;
}

} // namespace Kavo::Testing
