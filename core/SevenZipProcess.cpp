#include "core/SevenZipProcess.h"

#include "core/Log.h"
#include "core/Paths.h"

#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>

#include <csignal>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace Kavo::Extractors {

namespace {

/// The exit code of a child process whose parent is gone.
constexpr int Orphaned = 255;

/// The process id of this program while this thread starts a child that must not outlive it,
/// otherwise 0.
thread_local pid_t ownerOfFork = 0;

/// Runs in a new process before anything else does.
void endWithOwner()
{
    if (ownerOfFork == 0)
        return;
    // If this program is killed, a child that keeps unpacking would write into a folder that the
    // next run already uses.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // If the parent died before the line above, no signal will come any more.
    if (::getppid() != ownerOfFork)
        ::_exit(Orphaned);
}

/// While an object of this class exists, every child that this thread forks ends together with this
/// program, from the first instruction on. QProcess alone cannot do that: its child waits for a
/// message of the parent before it calls setupChildProcess(). If the parent died in between, the
/// child would wait for ever and keep all connections open.
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

/// A desktop that ends its session sends these signals to all processes of a program at once. The
/// program still finishes the running installation and needs the child for it. The child handles
/// some of these signals itself, so ignoring them is not enough; shells undo a blocked signal mask.
void outliveRequestsToEnd()
{
    sigset_t requests;
    ::sigemptyset(&requests);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaddset(&requests, number);
        ::signal(number, SIG_IGN);
    }
    ::sigprocmask(SIG_BLOCK, &requests, nullptr);
}

/// In the POSIX locale, which is the default of a minimal system, 7-Zip can neither print nor write
/// names that are not ASCII.
QProcessEnvironment unicodeEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

} // namespace

SevenZipProcess::SevenZipProcess(const QString &program, QObject *parent) : QProcess(parent)
{
    if (!QFile::exists(program))
        return;
    setProgram(program);
    setWorkingDirectory(applicationDirectory());
    setProcessEnvironment(unicodeEnvironment());
}

bool SevenZipProcess::begin(const QStringList &arguments, const QByteArray &input)
{
    if (program().isEmpty())
        return false;
    setArguments(arguments);
    {
        const OwnedForks owned;
        start(QIODevice::ReadWrite);
    }
    write(input);
    closeWriteChannel();
    return waitForStarted(-1);
}

bool SevenZipProcess::namesOneFile(const QString &archive)
{
    const QFileInfo file(archive);
    return !file.isDir() && !isPattern(file.fileName());
}

bool SevenZipProcess::isPattern(const QString &name)
{
    return name.contains(QLatin1Char('*')) || name.contains(QLatin1Char('?'));
}

void SevenZipProcess::setupChildProcess()
{
    // In its own session the child has no terminal, so it cannot prompt for a password and wait for
    // ever.
    ::setsid();
    outliveRequestsToEnd();
    // Repeated here for systems on which Qt does not call fork().
    endWithOwner();
}

} // namespace Kavo::Extractors
