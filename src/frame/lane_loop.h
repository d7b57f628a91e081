// The road of every kernel: element loop, aligned route, fallback route.
// A kernel is a formula: a struct with `element` for one element and `lanes` for a lane group of four.
#pragma once

#include <cfloat>
#include <type_traits>

// The build's flags rule these out (cmake/flags.cmake). Where another build's don't, it stops here.
#if defined(__FAST_MATH__) || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || \
    defined(__NO_SIGNED_ZEROS__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#    error "libZEL promises exact bits, which -ffast-math and its parts would change: build it without them."
#endif
#if FLT_EVAL_METHOD != 0
#    error "libZEL's float arithmetic is rounded to float after each operation: build it with -mfpmath=sse."
#endif

#include "ZEL_Math.h"
#include "frame/operands.h"

namespace zel {

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
    for (Count i = 0; i < num; ++i) d[i] = static_cast<D>(Formula::element(at(x, i)...));
}

/// From i to end: many(i) for each `manySize` elements at once, then one(i) for each `oneSize` of
/// the rest, upward.
template <Count manySize, Count oneSize, class Many, class One>
inline void upward(Count i, Count end, Many many, One one) {
    for (; end - i >= manySize; i += manySize) many(i);
    for (; i < end; i += oneSize) one(i);
}

/// one(i) for each `size` elements from i to end, four a turn, since one a turn would be bound by the turns.
/// Each is done before the next one begins, so that the order under overlap stays.
template <Count size, class One>
inline void upwardByFours(Count i, Count end, One one) {
    const auto four = [=](Count k) {
        one(k);
        one(k + size);
        one(k + 2 * size);
        one(k + 3 * size);
    };
    upward<4 * size, size>(i, end, four, one);
}

/// Where the lane groups of an aligned route lie: from element `lead` to `end`. Before them the lead-in,
/// behind them the tail.
struct LaneBounds {
    Count lead, end;
    LaneBounds(int phase, Count num) {
        num = num > 0 ? num : 0;  // a negative count makes no pointer before an array
        lead = phase < num ? phase : num;
        end = lead + ((num - lead) & ~Count{3});
    }
};

/// The elements around the lane groups: lead-in upward, then tail downward. element(i) does element i.
template <class Element>
inline LaneBounds leadInAndTail(int phase, Count num, Element element) {
    const LaneBounds bounds(phase, num);
    const auto [lead, end] = bounds;
    // At most three elements on either side: written out, since a compiler would vectorise even these loops.
    if (lead > 0) element(0);
    if (lead > 1) element(1);
    if (lead > 2) element(2);
    const Count tail = num - end;
    if (tail > 2) element(end + 2);
    if (tail > 1) element(end + 1);
    if (tail > 0) element(end);
    return bounds;
}

/// For a lane loop that needs nothing around it.
struct NoScope {};

/// The aligned route: lead-in and tail, then the lane groups upward while a Scope lives; laneGroup(i) does
/// the one at element i. The tail goes before the groups: a group's store may land on the tail's sources.
template <class Scope = NoScope, class Element, class LaneGroup>
inline void alignedRoute(int phase, Count num, Element element, LaneGroup laneGroup) {
    const auto [lead, end] = leadInAndTail(phase, num, element);
    [[maybe_unused]] Scope scope;
    upwardByFours<4>(lead, end, laneGroup);
}

/// One element of a lead-in or tail. A formula whose `element` is roundabout so that a loop of it vectorises
/// has the same bits the short way in `single`.
template <class Formula, class... X>
auto single(X... x) {
    if constexpr (requires { Formula::single(x...); })
        return Formula::single(x...);
    else
        return Formula::element(x...);
}

// Bytes of all arrays of a call beyond which no cache keeps what is written until it is read again. The
// largest that one core reaches alone have 96 MiB; where many cores share more, they share it. Tests build
// with a lower bound.
#ifndef ZEL_CACHE_BYTES
#    define ZEL_CACHE_BYTES (Count{128} << 20)
#endif

/// Whether d is better stored past the caches: the arrays are larger than any of them, and d is none of its
/// sources. An ordinary store would read each line of d from memory before it is overwritten.
template <class... X>
bool beyondCaches(const void* d, Count num, X... x) {
    constexpr Count bytesPerElement = 4 * (1 + (Count{std::is_pointer_v<X>} + ... + 0));
    return num >= ZEL_CACHE_BYTES / bytesPerElement && (apartFrom(d, x, num * 4) && ...);
}

/// The aligned route with stores past the caches. Not inlined: the rare case of every SIMD member.
template <class Formula, class Scope, class D, class... X>
[[gnu::noinline]] void lanesPastCaches(D* d, Count num, X... x) {
    alignedRoute<Scope>(
        phase(d), num, [=](Count i) { d[i] = single<Formula>(at(x, i)...); },
        [d, ... x = spread(x)](Count i) { storePast(d + i, Formula::lanes(load(x, i)...)); });
    _mm_sfence();
}

/// A SIMD member: the aligned route if all arrays have the phase of d, else the fallback route,
/// an element loop.
template <class Formula, class Scope = NoScope, class D, class... X>
inline void lanes(D* d, Count num, X... x) {
    if (!inPhase(d, x...)) return elements<Formula>(d, num, x...);
    if (beyondCaches(d, num, x...)) [[unlikely]]
        return lanesPastCaches<Formula, Scope>(d, num, x...);
    alignedRoute<Scope>(
        phase(d), num, [=](Count i) { d[i] = single<Formula>(at(x, i)...); },
        [d, ... x = spread(x)](Count i) { store(d + i, Formula::lanes(load(x, i)...)); });
}

}  // namespace zel
