#include "tests/support/WithoutRights.h"

#include <QDirIterator>
#include <QFile>

#include <sys/fsuid.h>
#include <sys/stat.h>

namespace Kavo::Testing {

namespace {

constexpr uid_t Nobody = 65534;

} // namespace

WithoutRights::WithoutRights() : m_before(static_cast<uid_t>(::setfsuid(Nobody))) {}

WithoutRights::~WithoutRights()
{
    ::setfsuid(m_before);
}

void setMode(const QString &path, mode_t mode)
{
    ::chmod(QFile::encodeName(path).constData(), mode);
}

void letEverybodyWrite(const QString &folder)
{
    constexpr mode_t all = 0777;
    setMode(folder, all);
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        if (!entries.fileInfo().isSymLink())
            setMode(entries.filePath(), all);
    }
}

} // namespace Kavo::Testing
