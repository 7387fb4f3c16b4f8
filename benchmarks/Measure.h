#pragma once

#include <QStringList>

#include <chrono>

namespace Kavo::Benchmarks {

/// Wall time in microseconds that a call takes.
template<typename Call>
qint64 timed(Call call)
{
    const auto begin = std::chrono::steady_clock::now();
    call();
    const auto duration = std::chrono::steady_clock::now() - begin;
    return std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
}

/// One line of the program's output: both sides of one pair.
void printPair(qint64 ours, qint64 reference);

/// The program's arguments behind its own name, which is at 0. Ends the program unless there are
/// as many.
QStringList requireArguments(int count);

/// Ends the program with a message when a measured step did not do its work.
void require(bool done, const char *what);

} // namespace Kavo::Benchmarks
