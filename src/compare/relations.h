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

/// The number whose bits are the word 1, chosen against 0.
template <class T>
constexpr T truth{};
template <>
inline constexpr float truth<float> = std::bit_cast<float>(std::uint32_t{1});
template <>
inline constexpr double truth<double> = std::bit_cast<double>(std::uint64_t{1});

/// The word of a choice between truth<T> and 0.
inline int word(float choice, float) { return std::bit_cast<int>(choice); }
// GCC can't narrow the mask of a double compare to an int at the baseline, but it can narrow 64-bit words. An operand
// with bit 0 set, ANDed to the choice, changes nothing and keeps it from seeing a mask in them.
inline int word(double choice, double operand) {
    return static_cast<int>(std::bit_cast<std::uint64_t>(choice) &
                            (std::bit_cast<std::uint64_t>(operand) | 1));
}

inline __m128i complement(__m128i mask) { return _mm_xor_si128(mask, _mm_set1_epi32(-1)); }

struct Less {
    static int element(int a, int b) { return a < b; }
    template <class T>
    static int element(T a, T b) {
        return word(a < b ? truth<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return _mm_cmpgt_epi32(b, a); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmplt_ps(a, b)); }
};

struct LessOrEqual {
    static int element(int a, int b) { return a <= b; }
    template <class T>
    static int element(T a, T b) {
        return word(a <= b ? truth<T> : T{0}, a);
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
        return word(a == b ? truth<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return _mm_cmpeq_epi32(a, b); }
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmpeq_ps(a, b)); }
};

struct NotEqual {
    static int element(int a, int b) { return a != b; }
    template <class T>
    static int element(T a, T b) {
        return word(a != b ? truth<T> : T{0}, a);
    }
    static __m128i mask(__m128i a, __m128i b) { return complement(_mm_cmpeq_epi32(a, b)); }
    // Unordered: a NaN differs from everything. No float mask is ever a complement, which would turn this
    // round.
    static __m128i mask(__m128 a, __m128 b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }
};

}  // namespace zel
