#include "benchmarks/Process.h"

#include <QFile>

#include <ctime>
#include <sys/mman.h>

namespace Kavo::Benchmarks {

namespace {

qint64 microseconds(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return qint64(time.tv_sec) * 1000000 + time.tv_nsec / 1000;
}

} // namespace

qint64 wallTime()
{
    return microseconds(CLOCK_MONOTONIC);
}

qint64 processorTime()
{
    return microseconds(CLOCK_PROCESS_CPUTIME_ID);
}

qint64 processStatus(const QByteArray &key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

void warmMemory(std::size_t bytes)
{
    void *memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory != MAP_FAILED)
        ::munmap(memory, bytes);
}

} // namespace Kavo::Benchmarks
