// Add, subtract, multiply as formulas: one rounded operation, the same bits on elements and lanes.
#pragma once

#include <emmintrin.h>

namespace zel {

struct Add {
    template <class T> static T element(T a, T b) { return a + b; }
    // Signed overflow is undefined in C++. Unsigned addition wraps, to the same word.
    static int element(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b)); }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_add_ps(a, b); }
    static __m128i lanes(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
};

struct Subtract {
    template <class T> static T element(T a, T b) { return a - b; }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_sub_ps(a, b); }
};

struct Multiply {
    template <class T> static T element(T a, T b) { return a * b; }
    static __m128 lanes(__m128 a, __m128 b) { return _mm_mul_ps(a, b); }
};

}  // namespace zel
