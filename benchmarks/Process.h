#pragma once

#include <QByteArray>

/// What the system reports about this process and its thread.
namespace Kavo::Benchmarks {

/// Microseconds of a monotonic clock.
qint64 wallTime();

/// Processor time of all threads since the process started, in microseconds.
qint64 processorTime();

/// The value of a line of /proc/self/status in KiB, such as "VmRSS:" or "VmHWM:"; 0 without such a
/// line.
qint64 processStatus(const QByteArray &key);

/// Allocates this many bytes with all their pages and frees them. Otherwise a virtual machine might
/// have to get memory from its host during a measurement, which may take longer than what is
/// measured.
void warmMemory(std::size_t bytes);

} // namespace Kavo::Benchmarks
