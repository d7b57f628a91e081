// float to int by truncation, with the processor's answer for what has none: -2147483648.
#pragma once

#include <xmmintrin.h>

#include <cmath>

namespace zel {

/// 2^31, the first float above 0 that no int can hold.
inline constexpr float inexpressible = 2147483648.0f;

/// C++ leaves a conversion that doesn't fit undefined, so -2^31 is chosen first for NaN, infinities and what
/// doesn't fit. Unlike the scalar conversion instruction, this form vectorises.
inline int truncate(float x) { return static_cast<int>(std::fabs(x) < inexpressible ? x : -inexpressible); }

/// The same word by that instruction, for a single element.
inline int truncateOne(float x) { return _mm_cvttss_si32(_mm_set_ss(x)); }

}  // namespace zel
