#pragma once

#include "downloads/Download.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QVector>
#include <QWeakPointer>

namespace Kavo::Managers {

/// Chooses the file of each download, so that no two downloads damage each other's files:
///
///     name           the file name of its address
///     name.MARK      while a live download of another address has that name; MARK is made from the
///                    address, so that a later run finds the partial file
///     .kavo-fetch-*  for a transfer that starts over while another one writes the same file; it is
///                    renamed when it is complete
///
/// Main thread.
class CacheFolder final
{
public:
    using DownloadPointer = QSharedPointer<Models::Download>;

    /// Creates the folder and removes unfinished hidden files that a killed program has left there.
    explicit CacheFolder(const QString &path);

    /// Chooses a path in this folder for a download that has none, and in any case remembers who
    /// has the path.
    void settle(const DownloadPointer &download);

    /// The path that the transfer of a download writes: the download's own path unless another
    /// transfer is writing that. It is reserved until endWriting().
    QString beginWriting(const Models::Download &download);
    void endWriting(const QString &file);

private:
    QString pathFor(Models::Download &download);
    bool isHeldByOthers(const QString &path, const Models::Download &newcomer);
    const QVector<QWeakPointer<Models::Download>> &holdersOf(const QString &path);

    QString m_path;
    /// Downloads that may still be referenced, even after they left the queue, by the path that
    /// they were given. Deleted ones are removed when their path is asked for again.
    QHash<QString, QVector<QWeakPointer<Models::Download>>> m_holders;
    /// The number of transfers that write each file.
    QHash<QString, int> m_writers;
};

} // namespace Kavo::Managers
