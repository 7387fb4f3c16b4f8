#include "app/WorkReport.h"

#include "core/OneLine.h"
#include "packages/installation/Installer.h"

#include <QApplication>

#include <algorithm>
#include <chrono>

namespace Kavo {

using Models::Download;
using Models::InstallationWork;
using Models::InstallationWorkPointer;
using Models::Installer;

namespace {

constexpr std::chrono::milliseconds Pause{250};
/// The part of the work that remains after the download.
constexpr double ShareOfUnpacking = 0.1;
/// The assumed size of an archive of unknown size, in bytes.
constexpr double GuessedSize = 1024 * 1024;
constexpr int MostNames = 5;

double sizeOf(const InstallationWork &work)
{
    const qint64 known = work.download()->getFileSize();
    const qint64 size = known > 0 ? known : work.version()->size.value_or(0);
    return size > 0 ? static_cast<double>(size) : GuessedSize;
}

/// The progress of work that has not ended, from 0 to 1.
double shareDone(const InstallationWork &work)
{
    const bool isHere = work.phase() == InstallationWork::Phase::QUEUED ||
                        work.phase() == InstallationWork::Phase::RUNNING ||
                        work.phase() == InstallationWork::Phase::REPLACING;
    const double come = static_cast<double>(work.download()->getCurrentSize()) / sizeOf(work);
    return (1 - ShareOfUnpacking) * (isHere ? 1 : std::clamp(come, 0.0, 1.0));
}

} // namespace

WorkReport::WorkReport(const Installer &installer) : m_launcher(m_bus), m_notifications(m_bus)
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_hasNews)
            show();
    });
    connect(&installer, &Installer::began, this, &WorkReport::onBegan);
    connect(&installer, &Installer::ended, this, &WorkReport::onEnded);
}

void WorkReport::onBegan(const InstallationWorkPointer &work)
{
    m_works.append(work);
    // Several packages may share one download.
    connect(work->download().data(), &Download::currentSize, this, &WorkReport::note,
            Qt::UniqueConnection);
    connect(work.data(), &InstallationWork::moved, this, &WorkReport::note);
    note();
}

void WorkReport::onEnded(const InstallationWorkPointer &work)
{
    work->disconnect(this);
    m_works.removeOne(work);
    ++m_endedCount;
    m_endedSize += sizeOf(*work);
    if (work->phase() != InstallationWork::Phase::INSTALLED)
        m_failed.append(oneLine(work->package()->name()));
    if (!m_works.isEmpty()) {
        note();
        return;
    }
    notifyOfEnd();
    m_endedCount = 0;
    m_endedSize = 0;
    m_failed.clear();
    m_hasNews = false;
    m_launcher.clear();
}

/// Schedules an update, now or in a moment.
void WorkReport::note()
{
    // A transfer may continue after an error, but its package has failed.
    if (m_works.isEmpty())
        return;
    m_hasNews = true;
    if (!m_pause.isActive())
        show();
}

void WorkReport::show()
{
    m_hasNews = false;
    m_pause.start(Pause);
    m_launcher.show(m_works.size(), progress());
}

/// The total progress of running work, whose size is never 0.
double WorkReport::progress() const
{
    double all = m_endedSize;
    double done = m_endedSize;
    for (const InstallationWorkPointer &work : m_works) {
        all += sizeOf(*work);
        done += sizeOf(*work) * shareDone(*work);
    }
    return done / all;
}

void WorkReport::notifyOfEnd()
{
    // The user expects the end of a single installation, and sees the result in an active window.
    if (m_endedCount < 2 || QApplication::activeWindow())
        return;
    QStringList lines{tr("Installed : %1").arg(m_endedCount - m_failed.size())};
    if (!m_failed.isEmpty())
        lines.append(tr("Failed : %1").arg(m_failed.mid(0, MostNames).join(QStringLiteral(", "))));
    if (m_failed.size() > MostNames)
        lines.append(tr("Not listed : %1").arg(m_failed.size() - MostNames));
    m_notifications.notify(tr("Installations have ended"), lines.join(QLatin1Char('\n')));
}

} // namespace Kavo
