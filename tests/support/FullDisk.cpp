#include "tests/support/FullDisk.h"

#include <csignal>

namespace Kavo::Testing {

FullDisk::FullDisk(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
{
    ::getrlimit(RLIMIT_FSIZE, &m_limit);
    const rlimit tight{bytes, m_limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tight);
}

FullDisk::~FullDisk()
{
    ::setrlimit(RLIMIT_FSIZE, &m_limit);
    std::signal(SIGXFSZ, m_handler);
}

} // namespace Kavo::Testing
