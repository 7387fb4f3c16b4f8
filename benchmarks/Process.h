#pragma once

#include <QByteArray>

/// What the system knows of this process and its thread.
namespace Kavo::Benchmarks {

/// Microseconds of a clock that nobody sets.
qint64 wallTime();

/// Microseconds of processor time of all threads since the process began.
qint64 processorTime();

/// A line of /proc/self/status in KiB, "VmRSS:" or "VmHWM:"; 0 without such a line.
qint64 processStatus(const QByteArray &key);

/// Takes so many bytes of memory and gives them back. A virtual machine gets memory that it has not
/// used for a moment from its host, which may take longer than what is to be measured.
void warmMemory(std::size_t bytes);

} // namespace Kavo::Benchmarks
