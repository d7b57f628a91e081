// What the processor's own operations give, one number at a time.
#pragma once

#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace test {

inline float rcp(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }
inline float rsqrt(float x) { return _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))); }
// Where the caller has denormals taken for zeros these give zeros, which a comparison and a choice don't.
inline float least(float p, float q) { return _mm_cvtss_f32(_mm_min_ss(_mm_set_ss(p), _mm_set_ss(q))); }
inline float greatest(float p, float q) { return _mm_cvtss_f32(_mm_max_ss(_mm_set_ss(p), _mm_set_ss(q))); }

/// The number that the bits mean, in any mode: no operation here meets a denormal. NaN and infinities come out as
/// numbers too large for an int.
inline double exact(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    const std::uint64_t exponent = bits >> 23 & 255;
    const std::uint32_t significand = (bits & 0x7FFFFF) | (exponent ? 0x800000 : 0);
    const auto unit = std::bit_cast<double>((std::max<std::uint64_t>(exponent, 1) + 1023 - 150) << 52);
    return (bits >> 31 ? -unit : unit) * significand;
}

/// The integer of a whole number, or the one that stands for none.
inline int toInt(double whole) {
    return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<int>(whole) : -2147483647 - 1;
}
inline int truncated(float x) { return toInt(std::trunc(exact(x))); }
inline int floorOf(float x) { return toInt(std::floor(exact(x))); }
/// Of the lanes, which take a denormal for a zero where the mode says so.
inline int laneFloor(float x) {
    const bool zero = (_mm_getcsr() & 0x40) && (std::bit_cast<std::uint32_t>(x) & 0x7F800000) == 0;
    return zero ? 0 : floorOf(x);
}

/// splitFloat's integer: the truncated number, or one less below 0.
inline int splitWhole(float x) {
    return static_cast<int>(static_cast<std::uint32_t>(truncated(x)) - (x < 0));
}

}  // namespace test
