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

/// What is chosen where a relation holds, against 0, and the word of such a choice; operand is any number at hand.
template <class T>
constexpr T truth{};
template <>
inline constexpr float truth<float> = std::bit_cast<float>(1);
template <>
inline constexpr double truth<double> = 1.0;

inline int word(float choice, float) { return std::bit_cast<int>(choice); }
inline int word(double choice, [[maybe_unused]] double operand) {
#ifdef __clang__
    // Bit 52 tells 1.0 from 0.0. Clang keeps the choice, and with it the kind of compare, as long as it stays one.
    return static_cast<int>(std::bit_cast<std::uint64_t>(choice) >> 52) & 1;
#else
    // GCC's baseline can't narrow the mask of a double compare to an int, but it can narrow 64-bit words that the mask
    // has chosen, as long as it can't tell in advance what they are: here, any odd one against 0.
    const std::uint64_t odd = std::bit_cast<std::uint64_t>(operand) | 1;
    const std::uint64_t chosen = choice != 0 ? odd : 0;
    return static_cast<int>(chosen & 1);
#endif
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
