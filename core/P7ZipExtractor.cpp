#include "core/P7ZipExtractor.h"

#include "core/Log.h"

#include <QDebug>
#include <QFileInfo>

namespace Kavo::Extractors {

namespace {

/// The exit code that Qt reports for a program that cannot be started. An empty program name would
/// yield 0, which must not count as success.
constexpr int NotStarted = 255;

/// Whether 7-Zip would expand the names: it replaces an asterisk in the destination by the name of
/// the archive.
bool meansMore(const QString &archive, const QString &destination)
{
    return !SevenZipProcess::namesOneFile(archive) || destination.contains(QLatin1Char('*'));
}

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
    , m_process(QSharedPointer<SevenZipProcess>::create(program))
{
    // For a process that was killed, the exit code is the number of the signal, which is never 0.
    connect(m_process.data(), qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &P7ZipExtractor::announce);
}

bool P7ZipExtractor::extract(const QString &archive, const QString &destination)
{
    // Fixed, see docs/compatibility.md.
    const QStringList arguments{QStringLiteral("x"), QFileInfo(archive).absoluteFilePath(),
                                QStringLiteral("-o") + destination};
    // Fixed, see docs/compatibility.md.
    logLine(QStringLiteral("Extract paramenter : ") + m_process->program() + QLatin1Char(' ') +
            rendered(arguments));
    const int exitCode = meansMore(archive, destination) ? refuse() : run(arguments);
    m_complaints.clear();
    if (exitCode == 0)
        return true;

    const QString label = QStringLiteral("Extractor Error : ");
    const bool ran = m_process->isOpen();
    const QString errors = ran ? QString::fromUtf8(m_process->readAllStandardError()) : QString();
    m_complaints = errors.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    logLine(label + errors);
    logLine(label + QString::number(exitCode));
    return false;
}

int P7ZipExtractor::run(const QStringList &arguments)
{
    // Without a switch 7-Zip prompts before it replaces a file. It reads the answer "Always" once,
    // and the end of input after it prevents any further wait.
    if (!m_process->begin(arguments, "A\n"))
        return refuse();
    m_process->waitForFinished(-1);
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
