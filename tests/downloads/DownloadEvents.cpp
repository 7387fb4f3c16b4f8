#include "tests/downloads/DownloadEvents.h"

#include "downloads/DownloadManager.h"
#include "tests/support/Literals.h"

#include <QtTest>

namespace Kavo::Testing {

using Models::Download;

namespace {

QString nameOf(Download::Process process)
{
    switch (process) {
    case Download::Process::Idle:
        return "Idle"_s;
    case Download::Process::Header:
        return "Header"_s;
    case Download::Process::Download:
        return "Download"_s;
    case Download::Process::Finished:
        return "Finished"_s;
    }
    return {};
}

} // namespace

DownloadEvents::DownloadEvents(const QSharedPointer<Download> &download)
{
    connect(download.data(), &Download::processChanged, this,
            [this](Download::Process process) { m_list.append(nameOf(process)); });
    connect(download.data(), &Download::fileSize, this,
            [this](qint64 size) { m_list.append("size %1"_s.arg(size)); });
    connect(download.data(), &Download::currentSize, this,
            [this](qint64 size) { m_currentSizes.append(size); });
    connect(download.data(), &Download::error, this,
            [this](const QString &text) { m_list.append("error "_s + text); });
    connect(download.data(), &Download::finished, this, [this](const QString &path) {
        m_list.append("finished "_s + path);
        m_finished = true;
        emit ended();
    });
}

DownloadEvents::DownloadEvents(Managers::DownloadManager &manager,
                               const QSharedPointer<Download> &download)
    : DownloadEvents(download)
{
    manager.add(download, false);
}

bool DownloadEvents::hasFailed() const
{
    return m_list.contains(errorEvent());
}

bool DownloadEvents::waitForFinished(int milliseconds)
{
    return m_finished || QSignalSpy(this, &DownloadEvents::ended).wait(milliseconds);
}

QString errorEvent()
{
    return "error Server Error"_s;
}

QStringList resumableEvents(qint64 size, const QString &path)
{
    return {"Header"_s, "size %1"_s.arg(size), "Download"_s, "Finished"_s, "finished "_s + path};
}

QStringList restartEvents(qint64 size, const QString &path)
{
    return {"Download"_s, "size %1"_s.arg(size), "Finished"_s, "finished "_s + path};
}

QStringList withError(QStringList events)
{
    events.insert(events.indexOf("Finished"_s), errorEvent());
    return events;
}

} // namespace Kavo::Testing
