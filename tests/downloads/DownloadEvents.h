#pragma once

#include "downloads/Download.h"

#include <QObject>
#include <QSharedPointer>
#include <QStringList>

namespace Kavo::Testing {

/// What a download announces, written down in order: "process 2", "fileSize 5000", "error Server
/// Error", "finished /path". Sizes of the growing file are kept apart, because their number depends
/// on how the bytes come in.
class DownloadEvents final : public QObject
{
    Q_OBJECT

public:
    explicit DownloadEvents(const QSharedPointer<Models::Download> &download);

    const QStringList &list() const { return m_list; }
    const QList<qint64> &currentSizes() const { return m_currentSizes; }
    bool hasFinished() const { return m_finished; }

    /// Runs the event loop until the download is Finished; false when that takes longer.
    bool waitForFinished(int milliseconds = 10000);

signals:
    void ended();

private:
    void add(const QString &event);

    QStringList m_list;
    QList<qint64> m_currentSizes;
    bool m_finished = false;
};

/// The events of a transfer without errors.
QStringList resumableEvents(qint64 size, const QString &path);
QStringList restartEvents(qint64 size, const QString &path);

} // namespace Kavo::Testing
