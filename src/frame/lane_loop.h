// The routes of every kernel: element loop, aligned route, fallback route.
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
#include "frame/cache_sizes.h"
#include "frame/call.h"
#include "frame/operands.h"

// GCC unrolls what it has vectorised, which is worth a factor of 1.5 to 2, and makes straight code of a loop of four
// iterations at -O2 too. Clang does both by itself, and the pragma would keep it from vectorising.
#if defined(__GNUC__) && !defined(__clang__)
#    define ZEL_UNROLL _Pragma("GCC unroll 4")
#else
#    define ZEL_UNROLL
#endif

namespace zel {

/// The element loop: d[i] = element(x[i]...), each element written before the next one is read.
/// Not inlined, so that the plain member and the fallback route share one copy.
template <class Formula, class D, class... X> [[gnu::noinline]] void elements(D d, Count num, X... x) {
    [[maybe_unused]] const auto call = callOf<Formula>(Form::element, d, num, x...);
    ZEL_UNROLL
    for (Count i = 0; i < num; ++i) put(d, i, Formula::element(at(x, i)...));
}

/// The element form of a member. A formula may bring one of its own: `elementForm` chooses the fastest of several
/// element loops that give the bits of `element` for these operands.
template <class Formula, class D, class... X> inline void elementForm(D d, Count num, X... x) {
    if constexpr (requires { Formula::elementForm(d, num, x...); })
        Formula::elementForm(d, num, x...);
    else
        elements<Formula>(d, num, x...);
}

/// From i to end: many(i) for each `manySize` elements at once, then one(i) for each `oneSize` of
/// the rest, upward.
template <Count manySize, Count oneSize, class Many, class One>
inline void upward(Count i, Count end, Many many, One one) {
    for (; end - i >= manySize; i += manySize) many(i);
    for (; i < end; i += oneSize) one(i);
}

/// one(i) for each `size` elements from i to end, upward. An iteration does four of them: with one, loop overhead sets
/// the speed. Each is done before the next one begins, so that the order under overlap stays.
template <Count size, class One> inline void upwardByFours(Count i, Count end, One one) {
    const auto four = [=](Count k) {
        one(k);
        one(k + size);
        one(k + 2 * size);
        one(k + 3 * size);
    };
    upward<4 * size, size>(i, end, four, one);
}

/// Where the lane groups of an aligned route lie: from element `lead` to `end`. Before them lies the lead-in,
/// behind them the tail.
struct LaneBounds {
    Count lead, end;
    LaneBounds(int phase, Count num) {
        num = num > 0 ? num : 0;  // else a negative count would give a pointer before its array
        lead = phase < num ? phase : num;
        end = lead + ((num - lead) & ~Count{3});
    }
};

/// The elements around the lane groups: lead-in upward, then tail downward. element(i) does element i.
template <class Element> inline LaneBounds leadInAndTail(int phase, Count num, Element element) {
    const LaneBounds bounds(phase, num);
    const auto [lead, end] = bounds;
    // There are at most three elements on either side. A compiler would vectorise even so short a loop.
    if (lead > 0) element(0);
    if (lead > 1) element(1);
    if (lead > 2) element(2);
    const Count tail = num - end;
    if (tail > 2) element(end + 2);
    if (tail > 1) element(end + 1);
    if (tail > 0) element(end);
    return bounds;
}

/// One element of a lead-in or tail. A formula may have a `single` with the bits of its `element`: `element` is then
/// written for a loop that vectorises, `single` for speed on one element.
template <class Formula, class... X> auto single(X... x) {
    if constexpr (requires { Formula::single(x...); })
        return Formula::single(x...);
    else
        return Formula::element(x...);
}

/// For a lane loop that needs nothing around it.
struct NoScope {};

/// The aligned route: lead-in and tail, then the lane groups upward while a Scope lives. The tail goes before the
/// groups: a group's store may land on the tail's sources.
template <class Formula, class Scope, bool nonTemporal, class D, class... X>
inline void alignedRoute(D d, Count num, X... x) {
    const auto element = [=](Count i) { put(d, i, single<Formula>(at(x, i)...)); };
    const auto laneGroup = [d, ... x = spread(x)](Count i) {
        if constexpr (nonTemporal)
            putNonTemporal(d, i, Formula::lanes(groupAt(x, i)...));
        else
            putGroup(d, i, Formula::lanes(groupAt(x, i)...));
    };
    const auto [lead, end] = leadInAndTail(phase(d), num, element);
    [[maybe_unused]] Scope scope;
    upwardByFours<4>(lead, end, laneGroup);
    if constexpr (nonTemporal) _mm_sfence();
}

/// The rare case of every SIMD member, kept out of the way of the others.
template <class Formula, class Scope, class D, class... X>
[[gnu::noinline]] void nonTemporalRoute(D d, Count num, X... x) {
    alignedRoute<Formula, Scope, true>(d, num, x...);
}

/// Whether d is better written by non-temporal stores, because the arrays are larger than any cache and d is none of
/// its sources. An ordinary store would read each cache line of d from memory before it is overwritten. A formula of
/// which d is always a source says so by a member `updates`. GCC's sanitizers don't see a non-temporal store.
template <class... X>
bool bypassesCaches([[maybe_unused]] const void* d, [[maybe_unused]] Count num, [[maybe_unused]] X... x) {
#ifdef ZEL_SANITIZED
    return false;
#else
    constexpr Count bytesPerElement = 4 * (1 + (Count{std::is_pointer_v<X>} + ... + 0));
    return num >= nonTemporalBytes / bytesPerElement && (apartFrom(d, x, num * 4) && ...);
#endif
}

/// A SIMD member: the aligned route if all arrays have the phase of d, else the fallback route, the element form.
template <class Formula, class Scope = NoScope, class D, class... X> inline void laneForm(D d, Count num, X... x) {
    [[maybe_unused]] const auto call = callOf<Formula>(Form::lane, d, num, x...);
    if (!inPhase(d, x...)) return elementForm<Formula>(d, num, x...);
    if constexpr (std::is_pointer_v<D> && !requires { Formula::updates; })
        if (bypassesCaches(d, num, x...)) [[unlikely]]
            return nonTemporalRoute<Formula, Scope>(d, num, x...);
    alignedRoute<Formula, Scope, false>(d, num, x...);
}

/// A dispatching member: the lane form or the element form, as the flag says.
template <class Formula, class Scope = NoScope, class D, class... X>
inline void dispatch(bool simd, D d, Count num, X... x) {
    simd ? laneForm<Formula, Scope>(d, num, x...) : elementForm<Formula>(d, num, x...);
}

}  // namespace zel
