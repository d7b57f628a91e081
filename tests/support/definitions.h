// What the processor's own operations give, one number at a time.
#pragma once

#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <cstdint>

namespace test {

inline float rcp(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }
inline float rsqrt(float x) { return _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))); }
// Where the caller has denormals taken for zeros these give zeros, which a comparison and a choice don't.
inline float least(float p, float q) { return _mm_cvtss_f32(_mm_min_ss(_mm_set_ss(p), _mm_set_ss(q))); }
inline float greatest(float p, float q) { return _mm_cvtss_f32(_mm_max_ss(_mm_set_ss(p), _mm_set_ss(q))); }

/// The integer of a whole number in double, or the one that stands for none.
inline int toInt(double whole) {
    return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<int>(whole) : -2147483647 - 1;
}

/// The value that the bits mean, even where denormals are taken for zeros.
inline double exact(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    const bool denormal = (bits & 0x7F800000) == 0 && (bits & 0x7FFFFFFF);
    return denormal ? (bits >> 31 ? -1e-40 : 1e-40) : static_cast<double>(x);
}

}  // namespace test
