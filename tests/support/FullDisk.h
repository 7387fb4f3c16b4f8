#pragma once

#include <QtGlobal>

#include <sys/resource.h>

namespace Kavo::Testing {

/// Simulates a full disk: while the object exists, no file of this process can grow beyond `bytes`.
class FullDisk final
{
public:
    explicit FullDisk(rlim_t bytes);
    ~FullDisk();
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    void (*m_handler)(int);
    rlimit m_limit{};
};

} // namespace Kavo::Testing
