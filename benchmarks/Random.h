#pragma once

#include <cmath>
#include <cstdint>
#include <random>

namespace Kavo::Benchmarks {

/// Random numbers that are the same on every machine and in every run. The distributions of the
/// standard library differ between implementations.
class Random final
{
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    std::uint64_t bits() { return m_engine(); }
    /// From 0 up to `end`, without `end`.
    int below(int end) { return static_cast<int>(bits() % static_cast<std::uint64_t>(end)); }
    bool chance(int inHundred) { return below(100) < inHundred; }

    /// Positive numbers, half of them below the median, with a long tail.
    double logNormal(double median, double sigma)
    {
        constexpr double Steps = 9007199254740992.0;
        const double first = (static_cast<double>(bits() >> 11U) + 1.0) / Steps;
        const double second = static_cast<double>(bits() >> 11U) / Steps;
        const double normal = std::sqrt(-2.0 * std::log(first)) * std::cos(2.0 * M_PI * second);
        return median * std::exp(sigma * normal);
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace Kavo::Benchmarks
