// The six relations, once each: `element` gives 0 or 1, `mask` all bits of a lane set or clear.
//
// On any NaN, lt, le, gt and ge must raise the invalid flag, as a signalling compare does. eq and ne must raise it on a
// signalling NaN alone, as a quiet compare does. The lane compares are of the right kind: cmpltps and cmpleps signal,
// cmpeqps and cmpneqps are quiet. An element compare is written as a choice between two numbers, of which both
// compilers make these instructions, scalar or wide. Of a bare scalar `<` Clang would make a quiet compare. The rows
// of the comparisons check the flag, so they notice a compiler that does otherwise.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstdint>

namespace zel {

/// The number that an element compare chooses where its relation holds. Where it doesn't, it chooses 0. In float this
/// is the number whose bits are the int 1. That is a denormal, but it stays one under denormals-are-zero, because
/// nothing is computed with it.
template <class T> constexpr T holds{};
template <> inline constexpr float holds<float> = std::bit_cast<float>(1);
template <> inline constexpr double holds<double> = 1.0;

/// 1 for 1.0 and 0 for 0, by bit 52, in which they differ. For Clang: it keeps the choice, and with it the kind of
/// compare, where only bits of the number are used. Of `chosen != 0` it would make a quiet compare.
[[maybe_unused]] inline int oneBit(double chosen) {
    return static_cast<int>(std::bit_cast<std::uint64_t>(chosen) >> 52) & 1;
}

/// 1 for 1.0 and 0 for 0, by way of 64-bit integers. For GCC: at the baseline it can't narrow the mask of a double
/// compare to an int, and would leave the loop scalar, as scripts/proof/vectorised says. It can narrow 64-bit integers
/// that the mask has chosen, if it can't know them in advance. Here one of them is an odd integer made of the operand
/// atHand, the other is 0. Neither 1.0 nor 0 is a denormal, so denormals-are-zero doesn't change the compare.
[[maybe_unused]] inline int oneByOddInteger(double chosen, double atHand) {
    const std::uint64_t odd = std::bit_cast<std::uint64_t>(atHand) | 1;
    const std::uint64_t oddOrZero = chosen != 0 ? odd : 0;
    return static_cast<int>(oddOrZero & 1);
}

/// 1 where holds was chosen, 0 where 0 was; atHand is any operand of the compare.
inline int zeroOrOne(float chosen, float) { return std::bit_cast<int>(chosen); }
inline int zeroOrOne(double chosen, [[maybe_unused]] double atHand) {
#ifdef __clang__
    return oneBit(chosen);
#else
    return oneByOddInteger(chosen, atHand);
#endif
}

inline __m128i complement(__m128i mask) { return _mm_xor_si128(mask, _mm_set1_epi32(-1)); }

struct Less {
    static int element(int a, int b) { return a < b; }
    template <class T> static int element(T a, T b) { return zeroOrOne(a < b ? holds<T> : T{0}, a); }
    static __m128i mask(__m128i a, __m128i b) { return _mm_cmpgt_epi32(b, a); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmplt_ps(a, b)); }
};

struct LessOrEqual {
    static int element(int a, int b) { return a <= b; }
    template <class T> static int element(T a, T b) { return zeroOrOne(a <= b ? holds<T> : T{0}, a); }
    static __m128i mask(__m128i a, __m128i b) { return complement(_mm_cmpgt_epi32(a, b)); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmple_ps(a, b)); }
};

struct Greater {
    template <class T> static int element(T a, T b) { return Less::element(b, a); }
    template <class Lanes> static __m128i mask(Lanes a, Lanes b) { return Less::mask(b, a); }
};

struct GreaterOrEqual {
    template <class T> static int element(T a, T b) { return LessOrEqual::element(b, a); }
    template <class Lanes> static __m128i mask(Lanes a, Lanes b) { return LessOrEqual::mask(b, a); }
};

struct Equal {
    static int element(int a, int b) { return a == b; }
    template <class T> static int element(T a, T b) { return zeroOrOne(a == b ? holds<T> : T{0}, a); }
    static __m128i mask(__m128i a, __m128i b) { return _mm_cmpeq_epi32(a, b); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmpeq_ps(a, b)); }
};

struct NotEqual {
    static int element(int a, int b) { return a != b; }
    template <class T> static int element(T a, T b) { return zeroOrOne(a != b ? holds<T> : T{0}, a); }
    static __m128i mask(__m128i a, __m128i b) { return complement(_mm_cmpeq_epi32(a, b)); }
    // A NaN differs from everything. Here and above, no float mask is the complement of another one: a complement would
    // hold for NaN where the relation doesn't.
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }
};

}  // namespace zel
