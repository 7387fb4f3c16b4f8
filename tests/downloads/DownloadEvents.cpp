#include "tests/downloads/DownloadEvents.h"

#include <QtTest>

namespace Kavo::Testing {

using Models::Download;

DownloadEvents::DownloadEvents(const QSharedPointer<Download> &download)
{
    connect(download.data(), &Download::processChanged, this, [this](Download::Process process) {
        add(QStringLiteral("process %1").arg(static_cast<int>(process)));
    });
    connect(download.data(), &Download::fileSize, this,
            [this](qint64 size) { add(QStringLiteral("fileSize %1").arg(size)); });
    connect(download.data(), &Download::currentSize, this,
            [this](qint64 size) { m_currentSizes.append(size); });
    connect(download.data(), &Download::error, this,
            [this](const QString &text) { add(QStringLiteral("error ") + text); });
    connect(download.data(), &Download::finished, this, [this](const QString &path) {
        add(QStringLiteral("finished ") + path);
        m_finished = true;
        emit ended();
    });
}

bool DownloadEvents::waitForFinished(int milliseconds)
{
    return m_finished || QSignalSpy(this, &DownloadEvents::ended).wait(milliseconds);
}

void DownloadEvents::add(const QString &event)
{
    m_list.append(event);
}

QStringList resumableEvents(qint64 size, const QString &path)
{
    return {QStringLiteral("process 1"), QStringLiteral("fileSize %1").arg(size),
            QStringLiteral("process 2"), QStringLiteral("process 3"),
            QStringLiteral("finished ") + path};
}

QStringList restartEvents(qint64 size, const QString &path)
{
    return {QStringLiteral("process 2"), QStringLiteral("fileSize %1").arg(size),
            QStringLiteral("process 3"), QStringLiteral("finished ") + path};
}

} // namespace Kavo::Testing
