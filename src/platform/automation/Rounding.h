// Rounding that is the same whatever the client's program has set.
#pragma once

#include <cmath>

namespace automation {

// Halves go to the even neighbour.
inline double roundHalfEven(double real) noexcept
{
    const double below = std::floor(real);
    const double rest = real - below;
    const bool up = rest > 0.5 || (rest == 0.5 && std::fmod(below, 2) != 0);
    return up ? below + 1 : below;
}

} // namespace automation
