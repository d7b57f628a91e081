// The six relations, once each: `element` gives 0 or 1, `mask` all bits of a lane set or clear.
//
// On NaN, lt, le, gt and ge must raise the invalid flag (the signalling kind of compare), eq and ne must not
// unless the NaN is a signalling one. The lane compares are of the right kind by themselves: cmpltps and
// cmpleps signal, cmpeqps and cmpneqps don't. An element compare is written as a choice between two numbers,
// which both compilers turn into the same instructions, scalar or wide: Clang would compile a bare scalar `<`
// to the quiet compare.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstdint>

namespace zel {

/// The number that an element compare chooses where its relation holds, against 0. In float it is the one
/// whose bits are the int 1. That is a denormal, and denormals-are-zero can't make it 0: it is only chosen,
/// never computed with.
template <class T>
constexpr T holds{};
template <>
inline constexpr float holds<float> = std::bit_cast<float>(1);
template <>
inline constexpr double holds<double> = 1.0;

/// 1 for 1.0 and 0 for 0, by bit 52, in which they differ. For Clang, which keeps the choice, and with it the
/// kind of compare, as long as only bits are asked of it; it would make a quiet compare of `chosen != 0`.
[[maybe_unused]] inline int oneBit(double chosen) {
    return static_cast<int>(std::bit_cast<std::uint64_t>(chosen) >> 52) & 1;
}

/// 1 for 1.0 and 0 for 0, by way of 64-bit integers. For GCC, which can't narrow the mask of a double compare
/// to an int at the baseline, and leaves the loop scalar. It can narrow 64-bit integers that the mask has
/// chosen, as long as it can't tell in advance what they are: here, any odd one made of a number at hand,
/// against 0. Neither 1.0 nor 0 is a denormal, so denormals-are-zero doesn't reach the compare.
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
    template <class T>
    static int element(T a, T b) {
        return zeroOrOne(a < b ? holds<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return _mm_cmpgt_epi32(b, a); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmplt_ps(a, b)); }
};

struct LessOrEqual {
    static int element(int a, int b) { return a <= b; }
    template <class T>
    static int element(T a, T b) {
        return zeroOrOne(a <= b ? holds<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return complement(_mm_cmpgt_epi32(a, b)); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmple_ps(a, b)); }
};

struct Greater {
    template <class T>
    static int element(T a, T b) {
        return Less::element(b, a);
    }
    template <class Lanes>
    static __m128i mask(Lanes a, Lanes b) {
        return Less::mask(b, a);
    }
};

struct GreaterOrEqual {
    template <class T>
    static int element(T a, T b) {
        return LessOrEqual::element(b, a);
    }
    template <class Lanes>
    static __m128i mask(Lanes a, Lanes b) {
        return LessOrEqual::mask(b, a);
    }
};

struct Equal {
    static int element(int a, int b) { return a == b; }
    template <class T>
    static int element(T a, T b) {
        return zeroOrOne(a == b ? holds<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return _mm_cmpeq_epi32(a, b); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmpeq_ps(a, b)); }
};

struct NotEqual {
    static int element(int a, int b) { return a != b; }
    template <class T>
    static int element(T a, T b) {
        return zeroOrOne(a != b ? holds<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return complement(_mm_cmpeq_epi32(a, b)); }
    // Unordered: a NaN differs from everything. No float mask is ever a complement, which would
    // turn this round.
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }
};

}  // namespace zel
