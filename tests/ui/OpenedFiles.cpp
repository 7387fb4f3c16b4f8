#include "tests/ui/OpenedFiles.h"

#include <QFile>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>

namespace Kavo::Testing {

OpenedFiles::OpenedFiles(const QString &folder) : m_queue(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (inotify_add_watch(m_queue, QFile::encodeName(folder).constData(), IN_OPEN) < 0)
        qFatal("The folder cannot be watched");
}

OpenedFiles::~OpenedFiles()
{
    close(m_queue);
}

bool OpenedFiles::any()
{
    bool found = false;
    alignas(inotify_event) std::array<char, 4096> events{};
    while (read(m_queue, events.data(), events.size()) > 0)
        found = true;
    return found;
}

} // namespace Kavo::Testing
