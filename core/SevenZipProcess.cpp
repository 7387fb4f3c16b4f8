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

/// How a process of ours ends that has lost its owner.
constexpr int Orphaned = 255;

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

/// Who asks us to end may ask all that belongs to us at once, as a desktop does at the end of its
/// session. We finish what is begun, and need the program for it. It handles some of these signals
/// itself, so to ignore them would not do, and shells take back what is blocked.
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

/// In the locale of POSIX, which a bare system has, 7-Zip neither shows nor writes other names than
/// those of ASCII.
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
    // In a session of its own the program has no terminal: it cannot ask for a password there
    // and wait for ever.
    ::setsid();
    outliveRequestsToEnd();
    // Once more, for a system on which Qt does not call fork().
    endWithOwner();
}

} // namespace Kavo::Extractors
