// The road of every kernel: phase, operands, element loop, aligned route, fallback route.
// A kernel is a formula: a struct with `element` for one element and `lanes` for a lane group of four.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "ZEL_Math.h"

namespace zel {

using Count = std::int64_t;

/// Elements of 4 bytes from p to the next 16-byte boundary, 0 to 3.
inline int phase(const void* p) { return static_cast<int>((-reinterpret_cast<std::uintptr_t>(p) >> 2) & 3); }

// ---- Operands. An array and a value answer the same questions; a value is in every phase and gives itself
// back.

/// Element i.
template <class T>
T at(const T* x, Count i) {
    return x[i];
}
inline float at(float x, Count) { return x; }
inline double at(double x, Count) { return x; }
inline int at(int x, Count) { return x; }

/// What the lane loop holds of an operand: an array as it is, a value in all four lanes.
template <class T>
const T* spread(const T* x) {
    return x;
}
inline __m128 spread(float x) { return _mm_set1_ps(x); }
inline __m128i spread(int x) { return _mm_set1_epi32(x); }

/// The lane group that starts at element i.
inline __m128 group(const float* x, Count i) { return _mm_load_ps(x + i); }
template <class Word>
__m128i group(const Word* x, Count i) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(x + i));
}
inline __m128 group(__m128 x, Count) { return x; }
inline __m128i group(__m128i x, Count) { return x; }

/// x in a register: of a group that is used twice, GCC would make two loads, which a store stream from L2 feels.
inline __m128 loaded(__m128 x) {
    asm("" : "+x"(x));
    return x;
}

inline void store(float* d, __m128 x) { _mm_store_ps(d, x); }
inline void store(int* d, __m128i x) { _mm_store_si128(reinterpret_cast<__m128i*>(d), x); }

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

// ---- Routes

// GCC unrolls what it has vectorised, which is worth a factor of 1.5 to 2; Clang interleaves by itself, and
// the pragma would keep it from vectorising.
#if defined(__GNUC__) && !defined(__clang__)
#    define ZEL_UNROLL_ELEMENTS _Pragma("GCC unroll 4")
#else
#    define ZEL_UNROLL_ELEMENTS
#endif

/// The element loop: d[i] = element(x[i]...), each element written before the next one is read.
/// Not inlined, so that the plain member and the fallback route share one copy.
template <class Formula, class D, class... X>
[[gnu::noinline]] void elements(D* d, Count num, X... x) {
    ZEL_UNROLL_ELEMENTS
    for (Count i = 0; i < num; ++i) d[i] = Formula::element(at(x, i)...);
}

/// For what needs nothing around its lane loop.
struct NoScope {};

/// Where the lane groups of an aligned route lie: from element lead to end. Before them the lead-in, behind the tail.
struct Groups {
    Count lead, end;
    Groups(int phase, Count num) : lead(phase < num ? phase : num), end(lead + ((num - lead) & ~Count{3})) {}
};

/// The elements around the lane groups: lead-in upward, then tail downward. element(i) does element i.
template <class Element>
inline Groups edges(int phase, Count num, Element element) {
    const Groups groups(phase, num);
    const auto [lead, end] = groups;
    // At most three elements on either side: written out, since a compiler would vectorise even these loops.
    if (lead > 0) element(0);
    if (lead > 1) element(1);
    if (lead > 2) element(2);
    const Count tail = num - end;
    if (tail > 2) element(end + 2);
    if (tail > 1) element(end + 1);
    if (tail > 0) element(end);
    return groups;
}

/// The aligned route: the edges, then the lane groups upward while a Scope lives; group(i) does the one at element i.
template <class Scope = NoScope, class Element, class Group>
inline void walk(int phase, Count num, Element element, Group group) {
    // The tail goes first: a group store may land on its sources.
    const auto [lead, end] = edges(phase, num, element);
    [[maybe_unused]] Scope scope;
    // Four groups per step, each stored before the next one is loaded, so that the order under overlap stays.
    Count i = lead;
    for (; end - i >= 16; i += 16) {
        group(i);
        group(i + 4);
        group(i + 8);
        group(i + 12);
    }
    for (; i < end; i += 4) group(i);
}

/// One element at an edge. A formula whose `element` is roundabout so that a loop of it vectorises has the same bits
/// the short way in `edge`.
template <class Formula, class... X>
auto edge(X... x) {
    if constexpr (requires { Formula::edge(x...); })
        return Formula::edge(x...);
    else
        return Formula::element(x...);
}

/// A SIMD member: the aligned route if all arrays have the phase of d, else the element loop.
template <class Formula, class Scope = NoScope, class D, class... X>
inline void lanes(D* d, Count num, X... x) {
    if (!inPhase(d, x...)) return elements<Formula>(d, num, x...);
    walk<Scope>(
        phase(d), num, [=](Count i) { d[i] = edge<Formula>(at(x, i)...); },
        [d, ... x = spread(x)](Count i) { store(d + i, Formula::lanes(group(x, i)...)); });
}

}  // namespace zel
