// float to int: truncation, floor, and the split into integer part and fraction.
#include <bit>
#include <cmath>

#include "convert/rounding.h"
#include "frame/lane_loop.h"

using namespace zel;

namespace {

struct Cast {
    static int element(float x) { return truncate(x); }
    static int single(float x) { return truncateOne(x); }
    static __m128i lanes(__m128 x) { return _mm_cvttps_epi32(x); }
};

/// The floor by bits alone, so that neither the rounding mode nor denormals-are-zero changes it. It is the truncation,
/// less one where that lies above a negative x. A float comparison would take a negative denormal for 0.
int bitFloor(float x) {
    constexpr int sign = -2147483647 - 1;
    // truncate's choice, but between words. With a conditional expression compilers would compute all that follows
    // once for each case, and not vectorise: scripts/proof/vectorised would say so.
    const int bits = select(std::fabs(x) < inexpressible, std::bit_cast<int>(x), std::bit_cast<int>(-inexpressible));
    const int q = static_cast<int>(std::bit_cast<float>(bits));
    // The sign bit makes -0 of the truncation 0: equal to the bits of x = -0, and to no others between -1 and 0.
    const int differs = -static_cast<int>((std::bit_cast<int>(static_cast<float>(q)) | sign) != bits);
    const int negative = bits >> 31;
    return q + (negative & differs);
}

struct Floor {
    static int element(float x) { return bitFloor(x); }
    // Under RoundDown.
    static __m128i lanes(__m128 x) { return _mm_cvtps_epi32(x); }
};

/// Both parts of x. The forms differ on negative integers: the element form always goes one below the truncation.
struct Split {
    struct Element {
        int first;
        float second;
    };
    struct Lanes {
        __m128i first;
        __m128 second;
    };
    static Element element(float x) {
        // One less by wrap-around: -2147483648 becomes 2147483647.
        const int n = static_cast<int>(static_cast<unsigned>(truncate(x)) - static_cast<unsigned>(x < 0));
        return {n, x - static_cast<float>(n)};
    }
    // Under RoundDown, the subtraction too: an exact difference of 0 is -0.
    static Lanes lanes(__m128 x) {
        const __m128i n = _mm_cvtps_epi32(x);
        return {n, _mm_sub_ps(x, _mm_cvtepi32_ps(n))};
    }
};

}  // namespace

void ZEL_Math::cast(int* d, const float* a, Count num) { dispatch<Cast>(theSIMD, d, num, a); }
void ZEL_Math::castSIMD(int* d, const float* a, Count num) { laneForm<Cast>(d, num, a); }

void ZEL_Math::floor(int* d, const float* a, Count num) { dispatch<Floor, RoundDown>(theSIMD, d, num, a); }
void ZEL_Math::floorSIMD(int* d, const float* a, Count num) { laneForm<Floor, RoundDown>(d, num, a); }

void ZEL_Math::splitFloat(int* d, float* frac, const float* a, Count num) {
    dispatch<Split, RoundDown>(theSIMD, Two{d, frac}, num, a);
}
void ZEL_Math::splitFloat(int* d, float* frac, Count num) { splitFloat(d, frac, frac, num); }
void ZEL_Math::splitFloatSIMD(int* d, float* frac, const float* a, Count num) {
    laneForm<Split, RoundDown>(Two{d, frac}, num, a);
}
void ZEL_Math::splitFloatSIMD(int* d, float* frac, Count num) { splitFloatSIMD(d, frac, frac, num); }
