#pragma once

#include "downloads/Download.h"

#include <QObject>
#include <QSharedPointer>
#include <QStringList>

namespace Kavo::Managers {
class DownloadManager;
} // namespace Kavo::Managers

namespace Kavo::Testing {

/// The signals of a download in their order: "Download", "size 5000", "error Server Error",
/// "Finished", "finished /path". Sizes of the growing file are in a list of their own, because
/// their number depends on how the bytes arrive. Does not keep the download alive.
class DownloadEvents final : public QObject
{
    Q_OBJECT

public:
    explicit DownloadEvents(const QSharedPointer<Models::Download> &download);
    /// Adds the download to the manager as well, which starts it at once.
    DownloadEvents(Managers::DownloadManager &manager,
                   const QSharedPointer<Models::Download> &download);

    const QStringList &list() const { return m_list; }
    const QList<qint64> &currentSizes() const { return m_currentSizes; }
    bool hasFinished() const { return m_finished; }
    bool hasFailed() const;

    /// Runs the event loop until the download is Finished; false when that takes longer.
    bool waitForFinished(int milliseconds = 10000);

signals:
    void ended();

private:
    QStringList m_list;
    QList<qint64> m_currentSizes;
    bool m_finished = false;
};

/// The event of an error.
QString errorEvent();

/// The events of a transfer without errors.
QStringList resumableEvents(qint64 size, const QString &path);
QStringList restartEvents(qint64 size, const QString &path);
/// The same with an error before the end.
QStringList withError(QStringList events);

} // namespace Kavo::Testing
