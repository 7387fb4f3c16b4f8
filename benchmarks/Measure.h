#pragma once

#include <QStringList>

#include <chrono>

namespace Kavo::Benchmarks {

/// The wall time of a call, in microseconds.
template<typename Call>
qint64 timed(Call call)
{
    const auto begin = std::chrono::steady_clock::now();
    call();
    const auto duration = std::chrono::steady_clock::now() - begin;
    return std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
}

/// Prints one line of the program's output: the measured values of one pair.
void printPair(qint64 ours, qint64 reference);

/// The program's arguments, with its name at index 0. Ends the program unless there are exactly
/// `count` further ones.
QStringList requireArguments(int count);

/// Ends the program with a message if a measured step did not do its work.
void require(bool done, const char *what);

} // namespace Kavo::Benchmarks
