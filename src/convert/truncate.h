// float to int by truncation, with the processor's answer for what has none: -2147483648.
#pragma once

#include <cmath>

namespace zel {

/// NaN, infinities and what doesn't fit give -2147483648. C++ leaves those undefined, so a safe number is
/// chosen first; unlike the scalar conversion instruction, this form vectorises.
inline int truncate(float x) {
    constexpr float bound = 2147483648.0f;
    return static_cast<int>(std::fabs(x) < bound ? x : -bound);
}

}  // namespace zel
