#pragma once

#include <QDirIterator>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVector>

#include <memory>

namespace Kavo::Managers {

/// Keeps what lies in a folder and below it under a size: counts it when the first file has been
/// added in this run, and removes the oldest files where there are too many. Both goes in short
/// turns of the event loop, since there may be tens of thousands of files. Only names that end in
/// ".d" count. Main thread.
class FolderTrim final : public QObject
{
    Q_OBJECT

public:
    /// `largestSize` is in bytes. What comes while files are counted or removed may exceed it by
    /// as much as comes meanwhile, for which an eighth is set aside.
    FolderTrim(const QString &folder, qint64 largestSize, QObject *parent);

    /// Whether so many bytes may be added, as far as known.
    bool hasRoomFor(qint64 bytes) const { return m_size + bytes <= m_largestSize; }
    /// A file with so many bytes has come.
    void add(qint64 bytes);
    /// Whether files are being counted or removed.
    bool isBusy() const { return m_turns.isActive(); }
    /// Removes all files at once.
    void clear();

private:
    struct File
    {
        qint64 changed; ///< milliseconds since the epoch
        QString path;
        qint64 size;
    };

    void takeTurn();
    bool countOne();
    bool removeOne();
    bool isTooLarge() const;

    QString m_folder;
    qint64 m_largestSize;
    qint64 m_size = 0; ///< of what was counted and has come since
    bool m_isCounted = false;
    std::unique_ptr<QDirIterator> m_walk;
    QVector<File> m_files; ///< what was counted; sorted, the oldest last
    QTimer m_turns;
};

} // namespace Kavo::Managers
