#pragma once

#include "downloads/Download.h"

#include <QObject>
#include <QSharedPointer>
#include <QStringList>

namespace Kavo::Managers {
class DownloadManager;
} // namespace Kavo::Managers

namespace Kavo::Testing {

/// Records the signals of a download as texts in the order of emission: "Download", "size 5000",
/// "error Server Error", "Finished", "finished /path". The current sizes of the file are in a
/// separate list, because their number depends on how the bytes arrive. Does not keep the download
/// alive.
class DownloadEvents final : public QObject
{
    Q_OBJECT

public:
    explicit DownloadEvents(const QSharedPointer<Models::Download> &download);
    /// Also adds the download to the manager, without holding it back.
    DownloadEvents(Managers::DownloadManager &manager,
                   const QSharedPointer<Models::Download> &download);

    const QStringList &list() const { return m_list; }
    const QList<qint64> &currentSizes() const { return m_currentSizes; }
    bool hasFinished() const { return m_finished; }
    bool hasFailed() const;

    /// Runs the event loop until finished() was emitted. Returns false after a timeout.
    bool waitForFinished(int milliseconds = 10000);

signals:
    void ended();

private:
    QStringList m_list;
    QList<qint64> m_currentSizes;
    bool m_finished = false;
};

/// The text that DownloadEvents records for an error.
QString errorEvent();

/// The expected events of a transfer without errors.
QStringList resumableEvents(qint64 size, const QString &path);
QStringList restartEvents(qint64 size, const QString &path);
/// Inserts an error before "Finished".
QStringList withError(QStringList events);

} // namespace Kavo::Testing
