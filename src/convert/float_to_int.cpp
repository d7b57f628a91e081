// float to int: truncation, floor, and the split into integer part and fraction.
#include <bit>
#include <cmath>

#include "convert/rounding.h"
#include "convert/truncate.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct Cast {
    static int element(float x) { return truncate(x); }
    static int single(float x) { return truncateOne(x); }
    static __m128i lanes(__m128 x) { return _mm_cvttps_epi32(x); }
};

/// The floor by bits alone, so that neither the rounding mode nor denormals-are-zero reaches it: the
/// truncation, less one where it lies above a negative x. A float compare would take a negative
/// denormal for 0.
int bitFloor(float x) {
    constexpr int sign = -2147483647 - 1;
    // truncate's choice by a word mask: compilers would compute all that follows a choice of a constant once
    // for each arm, and not vectorise.
    const int fits = -static_cast<int>(std::fabs(x) < inexpressible);
    const int bits = (std::bit_cast<int>(x) & fits) | (std::bit_cast<int>(-inexpressible) & ~fits);
    const int q = static_cast<int>(std::bit_cast<float>(bits));
    // The sign bit makes -0 of the truncation 0, which -0 equals and -0.5 doesn't.
    const int differs = -static_cast<int>((std::bit_cast<int>(static_cast<float>(q)) | sign) != bits);
    const int negative = bits >> 31;
    return q + (negative & differs);
}

struct Floor {
    static int element(float x) { return bitFloor(x); }
    // Under RoundDown.
    static __m128i lanes(__m128 x) { return _mm_cvtps_epi32(x); }
};

/// Both parts of x. They don't agree on negative integers: the element form always goes one
/// below the truncation.
struct Split {
    static void element(int& d, float& frac, float x) {
        // One less by wrap-around: -2147483648 becomes 2147483647.
        const int n = static_cast<int>(static_cast<unsigned>(truncate(x)) - static_cast<unsigned>(x < 0));
        d = n;
        frac = x - static_cast<float>(n);
    }
    // Under RoundDown, the subtraction too: an exact difference of 0 is -0.
    static void lanes(int* d, float* frac, __m128 x) {
        const __m128i n = _mm_cvtps_epi32(x);
        store(d, n);
        store(frac, _mm_sub_ps(x, _mm_cvtepi32_ps(n)));
    }
};

[[gnu::noinline]] void splitElements(int* d, float* frac, const float* a, Count num) {
    ZEL_UNROLL_ELEMENTS
    for (Count i = 0; i < num; ++i) Split::element(d[i], frac[i], a[i]);
}

void splitLanes(int* d, float* frac, const float* a, Count num) {
    if (!inPhase(d, frac, a)) return splitElements(d, frac, a, num);
    alignedRoute<RoundDown>(
        phase(d), num, [=](Count i) { Split::element(d[i], frac[i], a[i]); },
        [=](Count i) { Split::lanes(d + i, frac + i, load(a, i)); });
}

}  // namespace

void ZEL_Math::cast(int* d, const float* a, Count num) {
    return theSIMD ? castSIMD(d, a, num) : elements<Cast>(d, num, a);
}
void ZEL_Math::castSIMD(int* d, const float* a, Count num) { lanes<Cast>(d, num, a); }

void ZEL_Math::floor(int* d, const float* a, Count num) {
    return theSIMD ? floorSIMD(d, a, num) : elements<Floor>(d, num, a);
}
void ZEL_Math::floorSIMD(int* d, const float* a, Count num) { lanes<Floor, RoundDown>(d, num, a); }

void ZEL_Math::splitFloat(int* d, float* frac, const float* a, Count num) {
    return theSIMD ? splitFloatSIMD(d, frac, a, num) : splitElements(d, frac, a, num);
}
void ZEL_Math::splitFloat(int* d, float* frac, Count num) {
    return theSIMD ? splitFloatSIMD(d, frac, num) : splitElements(d, frac, frac, num);
}
void ZEL_Math::splitFloatSIMD(int* d, float* frac, const float* a, Count num) { splitLanes(d, frac, a, num); }
void ZEL_Math::splitFloatSIMD(int* d, float* frac, Count num) { splitLanes(d, frac, frac, num); }
