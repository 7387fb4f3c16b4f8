#pragma once

#include <QString>

#include <cstddef>

namespace Kavo::Testing {

/// A string literal in UTF-8: "Häfen"_s.
inline QString operator""_s(const char *text, std::size_t size)
{
    return QString::fromUtf8(text, static_cast<int>(size));
}

} // namespace Kavo::Testing
