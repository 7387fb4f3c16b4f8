#pragma once

#include "downloads/Download.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QVector>
#include <QWeakPointer>

namespace Kavo::Managers {

/// Which file each download gets, so that no two of them spoil each other's:
///
///     name           the name of its address
///     name.MARK      beside it, as long as a live download of another address has the name; MARK
///                    stands for the address, so that a later run finds its half there
///     .kavo-fetch-*  a transfer that starts over while another one writes the same file; it moves
///                    to the name when it is whole
///
/// Main thread.
class CacheFolder final
{
public:
    using DownloadPointer = QSharedPointer<Models::Download>;

    /// Makes the folder and removes what a killed program left in it unfinished and unnamed.
    explicit CacheFolder(const QString &path);

    /// Gives a download without a path one in this folder, and remembers in any case who has it.
    void settle(const DownloadPointer &download);

    /// Where the transfer of a download is to write, which is its own path unless another transfer
    /// writes that. It is taken until endWriting().
    QString beginWriting(const Models::Download &download);
    void endWriting(const QString &file);

private:
    QString pathFor(Models::Download &download);
    bool isHeldByOthers(const QString &path, const Models::Download &newcomer);
    const QVector<QWeakPointer<Models::Download>> &holdersOf(const QString &path);

    QString m_path;
    /// Downloads that somebody may still hold, also after they left the queue, by the path they
    /// came with. Those that are gone are sorted out when their path is asked for again.
    QHash<QString, QVector<QWeakPointer<Models::Download>>> m_holders;
    /// How many transfers write each file.
    QHash<QString, int> m_writers;
};

} // namespace Kavo::Managers
