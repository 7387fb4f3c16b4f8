#include "downloads/FolderTrim.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace Kavo::Managers {

namespace {

/// The length of a turn in milliseconds.
constexpr int TurnLength = 8;

std::unique_ptr<QDirIterator> filesBelow(const QString &folder)
{
    return std::make_unique<QDirIterator>(folder, QStringList(QStringLiteral("*.d")),
                                          QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
}

} // namespace

FolderTrim::FolderTrim(const QString &folder, qint64 largestSize, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
    , m_largestSize(largestSize)
{
    connect(&m_turns, &QTimer::timeout, this, &FolderTrim::takeTurn);
}

void FolderTrim::add(qint64 bytes)
{
    m_size += bytes;
    if (m_turns.isActive())
        return;
    if (m_isCounted && !isTooLarge())
        return;
    // Files that were added since the last count are included in this one.
    m_size = 0;
    m_files.clear();
    m_walk = filesBelow(m_folder);
    m_turns.start();
}

void FolderTrim::clear()
{
    m_turns.stop();
    m_files.clear();
    m_walk.reset();
    m_size = 0;
    for (const auto walk = filesBelow(m_folder); walk->hasNext();)
        QFile::remove(walk->next());
}

void FolderTrim::takeTurn()
{
    QElapsedTimer turn;
    turn.start();
    while (turn.elapsed() < TurnLength) {
        if (m_walk ? countOne() : removeOne())
            continue;
        m_turns.stop();
        m_files.clear();
        return;
    }
}

/// Returns whether there is more to do.
bool FolderTrim::countOne()
{
    if (m_walk->hasNext()) {
        m_walk->next();
        const QFileInfo file = m_walk->fileInfo();
        m_files.append({file.lastModified().toMSecsSinceEpoch(), file.filePath(), file.size()});
        m_size += file.size();
        return true;
    }
    m_walk.reset();
    m_isCounted = true;
    std::sort(m_files.begin(), m_files.end(),
              [](const File &one, const File &other) { return one.changed > other.changed; });
    return isTooLarge();
}

/// Returns whether there is more to do.
bool FolderTrim::removeOne()
{
    // Removes a few more, so that the next added file does not start this again.
    const qint64 goal = m_largestSize / 4 * 3;
    if (m_files.isEmpty() || m_size <= goal)
        return false;
    const File oldest = m_files.takeLast();
    if (QFile::remove(oldest.path))
        m_size -= oldest.size;
    return true;
}

bool FolderTrim::isTooLarge() const
{
    return m_size > m_largestSize / 8 * 7;
}

} // namespace Kavo::Managers
