#include "core/P7ZipExtractor.h"

#include "core/Log.h"
#include "core/Paths.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace Kavo::Extractors {

namespace {

/// The exit code Qt reports for a program that cannot be started. A process without any program
/// would report 0, which must not pass for success.
constexpr int NotStarted = 255;

/// How a process of ours ends that has lost its owner.
constexpr int Orphaned = 255;

/// Whether 7-Zip would take the names for more than they say: it unpacks every archive that it
/// finds in a folder or that a pattern matches, and replaces an asterisk in the destination by the
/// archive's name.
bool meansMore(const QString &archive, const QString &destination)
{
    const QFileInfo file(archive);
    const QString name = file.fileName();
    return file.isDir() || name.contains(QLatin1Char('*')) || name.contains(QLatin1Char('?')) ||
           destination.contains(QLatin1Char('*'));
}

/// While this thread starts a program that must not outlive us, our process id; otherwise 0.
thread_local pid_t ownerOfFork = 0;

/// Runs in a new process before anything else does.
void endWithOwner()
{
    if (ownerOfFork == 0)
        return;
    // A program that goes on unpacking after our sudden death would write into the folder that the
    // next run is already working on.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // An owner that has died before that line sends no signal any more.
    if (::getppid() != ownerOfFork)
        ::_exit(Orphaned);
}

/// As long as it lives, what this thread forks ends together with us from its first moment on.
/// QProcess alone cannot do that: its child waits for a word of the parent before it calls
/// setupChildProcess(), and would wait for ever, holding all our connections open, if the parent
/// died in between.
class OwnedForks final
{
public:
    OwnedForks()
    {
        static const bool registered = ::pthread_atfork(nullptr, nullptr, endWithOwner) == 0;
        if (!registered)
            logLine(QStringLiteral("The extractor may outlive the program"));
        ownerOfFork = ::getpid();
    }
    ~OwnedForks() { ownerOfFork = 0; }
    Q_DISABLE_COPY_MOVE(OwnedForks)
};

class ExtractorProcess final : public QProcess
{
protected:
    void setupChildProcess() override
    {
        // In a session of its own the program has no terminal: it cannot ask for a password there
        // and wait for ever.
        ::setsid();
        // Once more, for a system on which Qt does not call fork().
        endWithOwner();
    }
};

QString rendered(const QStringList &arguments)
{
    QString text;
    QDebug(&text).nospace() << arguments;
    return text;
}

} // namespace

P7ZipExtractor::P7ZipExtractor(QObject *parent)
    : P7ZipExtractor(QStringLiteral("/usr/bin/7z"), parent)
{}

P7ZipExtractor::P7ZipExtractor(const QString &program, QObject *parent)
    : QObject(parent)
    , m_process(QSharedPointer<ExtractorProcess>::create())
{
    if (QFile::exists(program)) {
        m_process->setProgram(program);
        m_process->setWorkingDirectory(applicationDirectory());
    }
    // Of a process that was killed the exit code is the number of the signal, which is never 0.
    connect(m_process.data(), qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &P7ZipExtractor::announce);
}

bool P7ZipExtractor::extract(const QString &archive, const QString &destination)
{
    const QStringList arguments{QStringLiteral("x"), QFileInfo(archive).absoluteFilePath(),
                                QStringLiteral("-o") + destination};
    logLine(QStringLiteral("Extract paramenter : ") + m_process->program() + QLatin1Char(' ') +
            rendered(arguments));
    const int exitCode = meansMore(archive, destination) ? refuse() : run(arguments);
    if (exitCode == 0)
        return true;

    const QString label = QStringLiteral("Extractor Error : ");
    const bool ran = m_process->isOpen();
    logLine(label + QString::fromLocal8Bit(ran ? m_process->readAllStandardError() : QByteArray()));
    logLine(label + QString::number(exitCode));
    return false;
}

int P7ZipExtractor::run(const QStringList &arguments)
{
    if (!m_process->program().isEmpty()) {
        m_process->setArguments(arguments);
        {
            const OwnedForks owned;
            m_process->start(QIODevice::ReadWrite);
        }
        // Without a switch 7-Zip asks before it replaces a file. "Always", given once and for
        // all, followed by the end of input, keeps it from ever waiting for an answer.
        m_process->write("A\n");
        m_process->closeWriteChannel();
        m_process->waitForFinished(-1);
    }
    if (m_process->program().isEmpty() || m_process->error() == QProcess::FailedToStart)
        return refuse();
    return m_process->exitCode();
}

int P7ZipExtractor::refuse()
{
    announce(NotStarted);
    return NotStarted;
}

void P7ZipExtractor::announce(int exitCode)
{
    if (exitCode == 0)
        emit finished();
    else
        emit error();
}

} // namespace Kavo::Extractors
