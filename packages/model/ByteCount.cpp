#include "packages/model/ByteCount.h"

#include <cmath>

namespace Kavo::Models {

bool isByteCount(double number)
{
    constexpr double largest = 9007199254740992.0;
    return number >= 0 && number <= largest && std::floor(number) == number;
}

} // namespace Kavo::Models
