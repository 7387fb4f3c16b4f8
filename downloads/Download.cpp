#include "downloads/Download.h"

#include "core/Log.h"

#include <QFile>
#include <QFileInfo>
#include <QMetaMethod>
#include <QUrl>

namespace Kavo::Models {

Download::Download(const QString &url, bool overwrite, bool restart, QObject *parent)
    : QObject(parent)
    , m_request(std::make_unique<QNetworkRequest>(QUrl()))
    , m_id(QUuid::createUuid())
    , m_overwrite(overwrite)
    , m_restart(restart)
{
    m_request->setUrl(QUrl(url));
    // Deprecated in favour of redirect policies that are not needed here.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    m_request->setAttribute(QNetworkRequest::FollowRedirectsAttribute, true);
    QT_WARNING_POP
}

Download::~Download() = default;

void Download::setProcess(Process process)
{
    m_process = process;
    if (process != Process::Finished)
        m_hasFailed = false;
    emit processChanged(process);
    if (process == Process::Finished)
        emit finished(m_path);
}

void Download::setFileSize(qint64 size)
{
    m_fileSize = size;
    emit fileSize(size);
}

void Download::setCurrentSize(qint64 size)
{
    m_currentSize = size;
    emit currentSize(size);
}

QString Download::fileNameIn(const QUrl &url)
{
    return QFileInfo(url.path(QUrl::FullyDecoded)).fileName();
}

QString Download::getFileName()
{
    if (!m_fileName.isEmpty())
        return m_fileName;
    QString name = fileNameIn(m_request->url());
    if (name.isEmpty())
        name = QStringLiteral("download");
    // The bare name refers to the working folder, not to the folder of downloads.
    // Fixed, see docs/compatibility.md.
    if (!m_overwrite && QFile::exists(name)) {
        int number = 0;
        while (QFile::exists(name + QLatin1Char('.') + QString::number(number)))
            ++number;
        name += QLatin1Char('.') + QString::number(number);
    }
    m_fileName = name;
    return m_fileName;
}

bool Download::isAwaited() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&Download::finished));
}

void Download::announce()
{
    if (m_fileSize > 0)
        emit fileSize(m_fileSize);
    emit processChanged(m_process);
}

void Download::fail(const QString &message)
{
    const QString phase = m_process == Process::Header ? QStringLiteral("Header Error - ")
                                                       : QStringLiteral("Download Error - ");
    logLine(phase + m_request->url().toString() + QStringLiteral(" : ") + message);
    m_hasFailed = true;
    // Fixed, see docs/compatibility.md.
    emit error(tr("Server Error"));
}

} // namespace Kavo::Models
