#pragma once

#include <QDirIterator>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVector>

#include <memory>

namespace Kavo::Managers {

/// Keeps the files in a folder and its subfolders below a total size. It counts them when the first
/// file of this run has been added, and removes the oldest files if there are too many. Both happen
/// in short turns of the event loop, since there may be tens of thousands of files. Only files
/// whose names end in ".d" count. Main thread.
class FolderTrim final : public QObject
{
    Q_OBJECT

public:
    /// `largestSize` is in bytes. Files that are added while it counts or removes may exceed it; an
    /// eighth is reserved for them.
    FolderTrim(const QString &folder, qint64 largestSize, QObject *parent);

    /// Whether a file of this size may be added, as far as is known.
    bool hasRoomFor(qint64 bytes) const { return m_size + bytes <= m_largestSize; }
    /// To be called when a file of this size was added.
    void add(qint64 bytes);
    /// Whether it is counting or removing files.
    bool isBusy() const { return m_turns.isActive(); }
    /// Removes all files immediately.
    void clear();

private:
    struct File
    {
        qint64 changed; ///< in milliseconds since the epoch
        QString path;
        qint64 size;
    };

    void takeTurn();
    bool countOne();
    bool removeOne();
    bool isTooLarge() const;

    QString m_folder;
    qint64 m_largestSize;
    qint64 m_size = 0; ///< of the files counted and those added since
    bool m_isCounted = false;
    std::unique_ptr<QDirIterator> m_walk;
    QVector<File> m_files; ///< the counted files, the oldest last
    QTimer m_turns;
};

} // namespace Kavo::Managers
