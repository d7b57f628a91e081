// Operands: an array and a value answer the same questions, so that one loop serves every mixture of them.
// A value is in every phase, and gives itself back as each of its elements.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <type_traits>

namespace zel {

using Count = std::int64_t;

/// Two arrays that a formula writes at once. Its result has a `first` for the one and a `second` for the other.
template <class First, class Second> struct Two {
    First* first;
    Second* second;
};
template <class First, class Second> Two(First*, Second*) -> Two<First, Second>;

// ---- Addresses

/// Elements of 4 bytes from p to the next 16-byte boundary, 0 to 3.
inline int phase(const void* p) { return static_cast<int>((-reinterpret_cast<std::uintptr_t>(p) >> 2) & 3); }
template <class First, class Second> int phase(Two<First, Second> d) { return phase(d.first); }

/// Bits 2 and 3 are 0 exactly when x has the phase of d.
inline std::uintptr_t phaseGap(const void* d, const void* x) {
    return reinterpret_cast<std::uintptr_t>(d) ^ reinterpret_cast<std::uintptr_t>(x);
}
inline std::uintptr_t phaseGap(const void*, float) { return 0; }
inline std::uintptr_t phaseGap(const void*, int) { return 0; }
template <class... X> bool inPhase(const void* d, X... x) { return ((phaseGap(d, x) | ... | 0) & 12) == 0; }
template <class First, class Second, class... X> bool inPhase(Two<First, Second> d, X... x) {
    return inPhase(d.first, d.second, x...);
}

/// Whether two ranges of memory have no byte in common.
inline bool apart(const void* p, Count pBytes, const void* q, Count qBytes) {
    const auto first = reinterpret_cast<std::uintptr_t>(p), second = reinterpret_cast<std::uintptr_t>(q);
    return first + static_cast<std::uintptr_t>(pBytes) <= second ||
           second + static_cast<std::uintptr_t>(qBytes) <= first;
}

/// Whether `bytes` from d on have none in common with as many from x on.
template <class T> bool apartFrom(const void* d, const T* x, Count bytes) { return apart(d, bytes, x, bytes); }
inline bool apartFrom(const void*, float, Count) { return true; }
inline bool apartFrom(const void*, int, Count) { return true; }

/// What a caller has to give for a count above 0: an array that is there and is aligned to its elements.
template <class T> bool usable(const T* x) { return x && reinterpret_cast<std::uintptr_t>(x) % alignof(T) == 0; }
template <class First, class Second> bool usable(Two<First, Second> d) { return usable(d.first) && usable(d.second); }
inline bool usable(double) { return true; }

// ---- Elements

/// Element i.
template <class T> T at(const T* x, Count i) { return x[i]; }
inline float at(float x, Count) { return x; }
inline double at(double x, Count) { return x; }
inline int at(int x, Count) { return x; }

/// Writes element i.
template <class T> void put(T* d, Count i, T result) { d[i] = result; }
template <class First, class Second, class Results> void put(Two<First, Second> d, Count i, Results results) {
    d.first[i] = results.first;
    d.second[i] = results.second;
}

// ---- Lane groups: four elements from a 16-byte boundary on, or a value in all four lanes

/// What a lane loop holds of an operand: an array as it is, a value in all four lanes.
template <class T> const T* spread(const T* x) { return x; }
inline __m128 spread(float x) { return _mm_set1_ps(x); }
inline __m128i spread(int x) { return _mm_set1_epi32(x); }

/// The four lanes from element i on.
inline __m128 groupAt(const float* x, Count i) { return _mm_load_ps(x + i); }
template <class Word> __m128i groupAt(const Word* x, Count i) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(x + i));
}
inline __m128 groupAt(__m128 x, Count) { return x; }
inline __m128i groupAt(__m128i x, Count) { return x; }

/// Writes the four lanes from element i on.
inline void putGroup(float* d, Count i, __m128 x) { _mm_store_ps(d + i, x); }
inline void putGroup(int* d, Count i, __m128i x) { _mm_store_si128(reinterpret_cast<__m128i*>(d + i), x); }
template <class First, class Second, class Results> void putGroup(Two<First, Second> d, Count i, Results results) {
    putGroup(d.first, i, results.first);
    putGroup(d.second, i, results.second);
}

/// The same by a non-temporal store. _mm_sfence orders those of a call before whatever comes after it.
inline void putNonTemporal(float* d, Count i, __m128 x) { _mm_stream_ps(d + i, x); }
inline void putNonTemporal(int* d, Count i, __m128i x) { _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), x); }

// ---- Choices

/// `yes` where the condition holds, else `no`, by a mask of all bits set or clear. A conditional expression would let
/// a compiler read only the operand it takes, or branch, and the loop around it would not vectorise.
inline int select(bool condition, int yes, int no) {
    const int mask = -static_cast<int>(condition);
    return (yes & mask) | (no & ~mask);
}
inline __m128 select(__m128 mask, __m128 yes, __m128 no) {
    return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}
inline __m128i select(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

/// x in a register. The compiler can't see where the number comes from, so it neither computes with it in advance
/// nor loads it again.
template <class T> T opaque(T x) {
    if constexpr (std::is_integral_v<T>)
        asm("" : "+r"(x));
    else
        asm("" : "+x"(x));
    return x;
}

}  // namespace zel
