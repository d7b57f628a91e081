// Operands: an array and a value answer the same questions, so that one loop serves every mixture of them.
// A value is in every phase, and gives itself back as each of its elements.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace zel {

using Count = std::int64_t;

// ---- Addresses

/// Elements of 4 bytes from p to the next 16-byte boundary, 0 to 3.
inline int phase(const void* p) { return static_cast<int>((-reinterpret_cast<std::uintptr_t>(p) >> 2) & 3); }

/// Bits 2 and 3 are 0 exactly when x has the phase of d.
inline std::uintptr_t phaseGap(const void* d, const void* x) {
    return reinterpret_cast<std::uintptr_t>(d) ^ reinterpret_cast<std::uintptr_t>(x);
}
inline std::uintptr_t phaseGap(const void*, float) { return 0; }
inline std::uintptr_t phaseGap(const void*, int) { return 0; }
template <class... X>
bool inPhase(const void* d, X... x) {
    return ((phaseGap(d, x) | ... | 0) & 12) == 0;
}

/// Whether two ranges of memory have no byte in common.
inline bool apart(const void* p, Count pBytes, const void* q, Count qBytes) {
    const auto first = reinterpret_cast<std::uintptr_t>(p), second = reinterpret_cast<std::uintptr_t>(q);
    return first + static_cast<std::uintptr_t>(pBytes) <= second ||
           second + static_cast<std::uintptr_t>(qBytes) <= first;
}

/// Whether `bytes` from d on have none in common with as many from x on.
template <class T>
bool apartFrom(const void* d, const T* x, Count bytes) {
    return apart(d, bytes, x, bytes);
}
inline bool apartFrom(const void*, float, Count) { return true; }
inline bool apartFrom(const void*, int, Count) { return true; }

// ---- Elements

/// Element i.
template <class T>
T at(const T* x, Count i) {
    return x[i];
}
inline float at(float x, Count) { return x; }
inline double at(double x, Count) { return x; }
inline int at(int x, Count) { return x; }

// ---- Lane groups: four elements from a 16-byte boundary on, or a value in all four lanes

/// What a lane loop holds of an operand: an array as it is, a value in all four lanes.
template <class T>
const T* spread(const T* x) {
    return x;
}
inline __m128 spread(float x) { return _mm_set1_ps(x); }
inline __m128i spread(int x) { return _mm_set1_epi32(x); }

/// The four lanes from element i on.
inline __m128 load(const float* x, Count i) { return _mm_load_ps(x + i); }
template <class Word>
__m128i load(const Word* x, Count i) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(x + i));
}
inline __m128 load(__m128 x, Count) { return x; }
inline __m128i load(__m128i x, Count) { return x; }

inline void store(float* d, __m128 x) { _mm_store_ps(d, x); }
inline void store(int* d, __m128i x) { _mm_store_si128(reinterpret_cast<__m128i*>(d), x); }

/// A store past the caches. _mm_sfence orders those of a call before whatever comes after it.
inline void storePast(float* d, __m128 x) { _mm_stream_ps(d, x); }
inline void storePast(int* d, __m128i x) { _mm_stream_si128(reinterpret_cast<__m128i*>(d), x); }

/// x, held in a register. GCC would load a group anew for each of its uses, which a stream out of L2 feels.
inline __m128 loadedOnce(__m128 x) {
    asm("" : "+x"(x));
    return x;
}

}  // namespace zel
