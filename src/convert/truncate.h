// float to int by truncation, with the processor's answer for what has none: -2147483648.
#pragma once

#include <bit>
#include <cmath>

namespace zel {

/// x where its truncation fits an int, else -2^31: NaN, infinities and what doesn't fit convert to -2147483648 then.
inline float convertible(float x) {
    constexpr float bound = 2147483648.0f;
    // A word mask and not a choice: what follows a choice of a constant, compilers compute once for each arm.
    const int fits = -static_cast<int>(std::fabs(x) < bound);
    return std::bit_cast<float>((std::bit_cast<int>(x) & fits) | (std::bit_cast<int>(-bound) & ~fits));
}

/// C++ leaves a conversion that doesn't fit undefined, so a safe number is chosen first; unlike the scalar conversion
/// instruction, this form vectorises.
inline int truncate(float x) { return static_cast<int>(convertible(x)); }

}  // namespace zel
